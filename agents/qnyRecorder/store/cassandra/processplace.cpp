// SPDX-License-Identifier: Apache-2.0
#include "processplace.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <unistd.h>

namespace recorder::cassandra {

namespace {

// "boot/space of process numbers": two processes see one another's numbers when theirs are the same.
std::string sharedPlace()
{
    std::string boot;
    std::ifstream("/proc/sys/kernel/random/boot_id") >> boot;
    char space[64] = {};
    const ssize_t length = ::readlink("/proc/self/ns/pid", space, sizeof space);
    if (boot.empty() || length <= 0) {
        return {};
    }
    return boot + '/' + std::string(space, static_cast<std::size_t>(length));
}

// When a process was started, in ticks since the boot; empty when it has ended. Nothing when that cannot be read: it is
// gone, or another user's and hidden.
std::optional<std::string> startOf(const std::string& process)
{
    std::ifstream file("/proc/" + process + "/stat");
    const std::string text { std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>() };
    // The name in brackets may hold anything; the state is the third field and the start the twenty-second.
    const std::size_t name = text.rfind(')');
    if (name == std::string::npos) {
        return std::nullopt;
    }
    std::istringstream fields(text.substr(name + 1));
    std::string state;
    std::string field;
    fields >> state;
    for (int number = 4; number <= 22; ++number) {
        fields >> field;
    }
    if (!fields) {
        return std::nullopt;
    }
    return state == "Z" || state == "X" ? std::string() : field;
}

// Also told of processes that are hidden: those may not be signalled, but they are there.
bool isThere(std::string_view process)
{
    pid_t number = 0;
    const auto read = std::from_chars(process.data(), process.data() + process.size(), number);
    const bool isNumber = read.ec == std::errc() && read.ptr == process.data() + process.size() && number > 0;
    return !isNumber || ::kill(number, 0) == 0 || errno != ESRCH;
}

} // namespace

std::string placeOfThisProcess()
{
    const std::string shared = sharedPlace();
    const std::string process = std::to_string(::getpid());
    const std::string start = startOf(process).value_or(std::string());
    return shared.empty() || start.empty() ? std::string() : shared + '/' + process + '/' + start;
}

bool isKnownToBeGone(std::string_view place)
{
    const std::string shared = sharedPlace();
    if (shared.empty() || !place.starts_with(shared + '/')) {
        return false;
    }
    const std::string_view rest = place.substr(shared.size() + 1);
    const std::size_t cut = rest.find('/');
    if (cut == std::string_view::npos) {
        return false;
    }
    const std::string process(rest.substr(0, cut));
    const std::optional<std::string> start = startOf(process);
    return start ? *start != rest.substr(cut + 1) : !isThere(process);
}

} // namespace recorder::cassandra
