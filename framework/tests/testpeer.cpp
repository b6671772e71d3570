// SPDX-License-Identifier: Apache-2.0
//
// A real agent in a process of its own, driven by its arguments:
//   --name N --family F [--password P] [--host H] [--stay SECONDS] [--deaf] [--launcher]
// Says "ready" on standard output once it is on the network, and "call …" for each launch that it is asked for. Leaves
// when it is asked to stop (unless --deaf) and when its standard input ends; adds an output on the line "redefine".
// With --stay it reads nothing, and leaves after so many seconds if nobody asks it before.

#include <quenary.h>
#include <quenary_families.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>

namespace {

void say(const std::string& line)
{
    std::fputs((line + "\n").c_str(), stdout);
    std::fflush(stdout);
}

void onStop(const char*, const char*, void*)
{
    // Leaves from a thread of its own: the library is stopped from outside its callbacks.
    std::thread([] {
        qny_stop();
        std::_Exit(0);
    }).detach();
}

void onStartAgent(const char*, const char*, const char*, qny_service_arg_t* first, size_t count, const char*, void*)
{
    std::string line = "call";
    for (size_t i = 0; i < count && first != nullptr; ++i, first = first->next) {
        line += " [" + std::string(first->type == QNY_STRING_T && first->c != nullptr ? first->c : "?") + "]";
    }
    say(line);
}

} // namespace

int main(int argc, char** argv)
{
    std::string name = "Peer";
    std::string family;
    std::string host;
    int secondsToStay = 0;
    bool isDeaf = false;
    bool isLauncher = false;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const bool hasNext = i + 1 < argc;
        if (argument == "--name" && hasNext) {
            name = argv[++i];
        } else if (argument == "--family" && hasNext) {
            family = argv[++i];
        } else if (argument == "--host" && hasNext) {
            host = argv[++i];
        } else if (argument == "--stay" && hasNext) {
            secondsToStay = std::atoi(argv[++i]);
        } else if (argument == "--password" && hasNext) {
            ++i;
        } else if (argument == "--deaf") {
            isDeaf = true;
        } else if (argument == "--launcher") {
            isLauncher = true;
            family = QNY_FAMILY_LAUNCHER;
        }
    }
    const char* masked[] = { "--password", nullptr };
    qny_set_command_line(argc, argv, masked);
    qny_name_set(name.c_str());
    qny_family_set(family.c_str());
    qny_output_create("level", QNY_DOUBLE_T, nullptr, 0);
    if (!isDeaf) {
        qny_observe_stop_requests(&onStop, nullptr);
    }
    if (isLauncher) {
        qny_service_init("start_agent", &onStartAgent, nullptr);
        qny_service_arg_add("start_agent", "uuid", QNY_STRING_T);
        qny_service_arg_add("start_agent", "command_line", QNY_STRING_T);
    }
    qny_options_t options;
    qny_options_init(&options);
    if (!host.empty()) {
        options.host_name = host.c_str();
    }
    if (qny_start(&options) != QNY_SUCCESS) {
        std::cerr << "not started: " << qny_last_error() << std::endl;
        return 1;
    }
    say("ready");
    std::this_thread::sleep_for(std::chrono::seconds(secondsToStay));
    std::string line;
    while (secondsToStay == 0 && std::getline(std::cin, line)) {
        if (line == "redefine") {
            qny_output_create("flow", QNY_DOUBLE_T, nullptr, 0);
        }
    }
    qny_stop();
    return 0;
}
