// SPDX-License-Identifier: Apache-2.0
//
// Maps outputs of other agents onto inputs of its own and writes one row for each publication that arrives. On standard
// output it says "ready" when it is on the network, and "live N" whenever the number of live mappings changes. It ends
// when its standard input is closed (so with whoever started it), on SIGTERM, SIGINT and on a stop request.

#include "rows.h"

#include <quenary.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <poll.h>
#include <unistd.h>

namespace {

volatile std::sig_atomic_t stopSignal = 0;
std::atomic<bool> isStopRequested { false };

struct Arguments
{
    std::string name = "Test observer";
    std::string output;
    std::string device;
    uint16_t port = 0;
    std::string peers;
    std::vector<MapRequest> maps;
};

// Rows come from the network library's callback thread, the flushes from the main thread.
class RowFile
{
public:
    explicit RowFile(std::FILE* file)
        : _file(file)
    {
    }
    void write(const std::string& row)
    {
        const std::lock_guard lock(_mutex);
        _isWritten = std::fwrite(row.data(), 1, row.size(), _file) == row.size() && _isWritten;
    }
    // False once anything could not be written.
    bool flush()
    {
        const std::lock_guard lock(_mutex);
        _isWritten = std::fflush(_file) == 0 && _isWritten;
        return _isWritten;
    }

private:
    std::mutex _mutex;
    std::FILE* _file;
    bool _isWritten = true;
};

[[noreturn]] void refuse(const std::string& reason)
{
    std::fprintf(stderr, "qnyTestObserver: %s\n", reason.c_str());
    std::exit(2);
}

Arguments parseArguments(int argc, char** argv)
{
    Arguments arguments;
    for (int index = 1; index < argc; ++index) {
        const std::string option = argv[index];
        if (option == "--help") {
            std::puts("qnyTestObserver --output FILE --map AGENT/OUTPUT/TYPE... [--name NAME] [--device DEVICE] "
                      "[--port PORT]\n"
                      "    [--peers HOST:PORT,...]\n"
                      "Writes each publication of the mapped outputs as a row:\n"
                      "agent;output;sequence;time_us;received_us;type;value;stand_in;last_value;lost");
            std::exit(0);
        }
        if (index + 1 >= argc) {
            refuse("the option " + option + " is unknown or lacks its value; see --help");
        }
        const std::string value = argv[++index];
        if (option == "--name") {
            arguments.name = value;
        } else if (option == "--output") {
            arguments.output = value;
        } else if (option == "--device") {
            arguments.device = value;
        } else if (option == "--peers") {
            arguments.peers = value;
        } else if (option == "--port") {
            const auto result = std::from_chars(value.data(), value.data() + value.size(), arguments.port);
            if (result.ec != std::errc() || *result.ptr != '\0' || arguments.port == 0) {
                refuse("\"" + value + "\" is no port: give a number from 1 to 65535");
            }
        } else if (option == "--map") {
            const std::optional<MapRequest> request = parseMapRequest(value);
            if (!request) {
                refuse("\"" + value
                    + "\" cannot be mapped: give AGENT/OUTPUT/TYPE, the type being impulse, bool, integer, double, "
                      "string or data");
            }
            arguments.maps.push_back(*request);
        } else {
            refuse("unknown option " + option + "; see --help");
        }
    }
    if (arguments.output.empty() || arguments.maps.empty()) {
        refuse("--output and at least one --map are needed; see --help");
    }
    return arguments;
}

void check(qny_result_t result)
{
    if (result != QNY_SUCCESS) {
        refuse(qny_last_error());
    }
}

std::string inputName(size_t index)
{
    return "observed " + std::to_string(index + 1);
}

size_t countLive(const std::vector<MapRequest>& maps)
{
    size_t count = 0;
    for (size_t index = 0; index < maps.size(); ++index) {
        if (qny_mapping_is_live(inputName(index).c_str(), maps[index].agent.c_str(), maps[index].output.c_str())) {
            ++count;
        }
    }
    return count;
}

bool isInputClosed(int waitMs)
{
    pollfd input { STDIN_FILENO, POLLIN, 0 };
    if (poll(&input, 1, waitMs) <= 0) {
        return false;
    }
    char dropped[256];
    return read(STDIN_FILENO, dropped, sizeof dropped) == 0;
}

} // namespace

int main(int argc, char** argv)
{
    const Arguments arguments = parseArguments(argc, argv);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(arguments.output.c_str(), "w"), &std::fclose);
    if (!file) {
        refuse(arguments.output + " cannot be written: " + std::strerror(errno));
    }
    RowFile rows(file.get());
    std::signal(SIGTERM, [](int) { stopSignal = 1; });
    std::signal(SIGINT, [](int) { stopSignal = 1; });

    check(qny_name_set(arguments.name.c_str()));
    check(qny_observe_stop_requests([](const char*, const char*, void*) { isStopRequested = true; }, nullptr));
    for (size_t index = 0; index < arguments.maps.size(); ++index) {
        const MapRequest& map = arguments.maps[index];
        const std::string input = inputName(index);
        check(qny_input_create(input.c_str(), map.type, nullptr, 0));
        check(qny_observe_input_publications(
            input.c_str(),
            [](const qny_publication_t* publication, void* out) {
                static_cast<RowFile*>(out)->write(rowOf(*publication));
            },
            &rows));
        check(qny_mapping_add(input.c_str(), map.agent.c_str(), map.output.c_str()));
    }
    qny_options_t options;
    qny_options_init(&options);
    options.device = arguments.device.empty() ? nullptr : arguments.device.c_str();
    options.port = arguments.port;
    options.peers = arguments.peers.empty() ? nullptr : arguments.peers.c_str();
    check(qny_start(&options));
    std::puts("ready");

    size_t live = 0;
    bool isWritten = true;
    while (stopSignal == 0 && !isStopRequested && isWritten && !isInputClosed(20)) {
        isWritten = rows.flush();
        if (const size_t now = countLive(arguments.maps); now != live) {
            live = now;
            std::printf("live %zu\n", live);
        }
        std::fflush(stdout);
    }
    qny_stop();
    if (!rows.flush()) {
        std::fprintf(stderr, "qnyTestObserver: %s could not be written to its end\n", arguments.output.c_str());
        return 1;
    }
    return 0;
}
