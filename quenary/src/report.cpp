// SPDX-License-Identifier: Apache-2.0
#include "report.h"

#include "text.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <poll.h>
#include <shared_mutex>
#include <unistd.h>
#include <utility>

namespace qny {

namespace {

// A plain array and not a std::string: it must outlive every other thread-local object of a thread that is ending.
thread_local char errorText[1024] = "";

// What others do is said as well, and they may do it as often as they like: of each level so many lines at once, and so
// many a second from then on.
constexpr int64_t mostLinesAtOnce = 200;
constexpr int64_t mostLinesOfASecond = 20;

class LogRate
{
public:
    // How many were left out before this one, or -1: it is left out, too.
    int64_t take()
    {
        using namespace std::chrono;
        const std::lock_guard lock(m_mutex);
        const int64_t now = duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
        const int64_t come = (now - m_since) * mostLinesOfASecond / 1000;
        if (come > 0) {
            m_left = std::min(m_left + come, mostLinesAtOnce);
            m_since = now;
        }
        if (m_left == 0) {
            ++m_leftOut;
            return -1;
        }
        --m_left;
        return std::exchange(m_leftOut, 0);
    }

private:
    std::mutex m_mutex;
    int64_t m_since = 0;
    int64_t m_left = mostLinesAtOnce;
    int64_t m_leftOut = 0;
};

struct LogState
{
    std::shared_mutex mutex; // held shared while the handler runs, so that one that was replaced does not run any more
    std::array<LogRate, QNY_LOG_ERROR + 1> rates;
};
LogState* theLog = new LogState; // outlives every thread that may still log
qny_log_fn logHandler = nullptr;
void* logUserData = nullptr;

} // namespace

qny_result_t fail(qny_result_t result, std::string sentence)
{
    const size_t size = std::min(sentence.size(), sizeof errorText - 1);
    std::memcpy(errorText, sentence.data(), size);
    errorText[size] = '\0';
    return result;
}

const char* lastError()
{
    return errorText;
}

void setLogHandler(qny_log_fn handler, void* userData)
{
    const std::unique_lock lock(theLog->mutex);
    logHandler = handler;
    logUserData = userData;
}

void log(qny_log_level_t level, const std::string& message)
{
    const std::shared_lock lock(theLog->mutex);
    if (!logHandler && level < QNY_LOG_WARNING) {
        return;
    }
    // A pipe that nobody reads: nothing that calls here must stand still for it.
    pollfd output { STDERR_FILENO, POLLOUT, 0 };
    if (!logHandler && poll(&output, 1, 0) == 0) {
        return;
    }
    const int64_t leftOut = theLog->rates.at(level).take();
    if (leftOut < 0) {
        return;
    }
    const std::string text
        = leftOut == 0 ? message : message + " (and " + std::to_string(leftOut) + " more lines were left out before)";
    if (logHandler) {
        logHandler(level, text.c_str(), logUserData);
    } else {
        std::fprintf(stderr, "quenary: %s: %s\n", level == QNY_LOG_ERROR ? "error" : "warning", text.c_str());
    }
}

void renewLogAfterFork()
{
    // Whoever held the old one has no thread in this process.
    theLog = new LogState;
}

std::string printable(std::string_view text)
{
    constexpr size_t most = 80;
    size_t size = std::min(text.size(), most);
    // Not in the middle of a character.
    while (size < text.size() && size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80) {
        --size;
    }
    std::string out(text.substr(0, size));
    const bool broken = !isUtf8(out);
    for (size_t i = 0; i < out.size(); ++i) {
        const auto code = static_cast<unsigned char>(out[i]);
        if (code < 0x20 || code == 0x7F || (broken && code >= 0x80)) {
            out[i] = '?';
        } else if (code == 0xC2 && static_cast<unsigned char>(out[i + 1]) < 0xA0) {
            out.replace(i, 2, "?"); // the second block of control characters
        }
    }
    return out;
}

} // namespace qny
