// SPDX-License-Identifier: Apache-2.0
//
// A real agent in a process of its own, driven by its arguments:
//   --name N --family F [--password P] [--host H] [--stay SECONDS] [--deaf] [--launcher [--as F]]
//   [--certificate PRIVATE]
// Says "ready" on standard output once it is on the network. Leaves when it is asked to stop (unless --deaf) and when
// its standard input ends; adds an output on the line "redefine". As a launcher it starts nothing: it offers what the
// line "offer JSON" says, says "call …" and "end …" for what it is asked, and answers who asked it last by the line
// "answer LAUNCH STATE NUMBER TEXT|LAST LINE|LAST LINE".
// With --stay it reads nothing, and leaves after so many seconds if nobody asks it before.

#include <quenary.h>
#include <quenary_families.h>
#include <quenary_launcher.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <sstream>
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

std::mutex mutex;
std::string asker; // guarded by it

void onAsked(
    const char*, const char* senderUuid, const char* service, qny_service_arg_t* first, size_t, const char*, void*)
{
    {
        const std::lock_guard lock(mutex);
        asker = senderUuid;
    }
    std::string line = service == std::string(QNY_LAUNCHER_START) ? "call" : "end";
    for (; first != nullptr; first = first->next) {
        line += " [" + (first->type == QNY_STRING_T ? std::string(first->c) : std::to_string(first->i)) + "]";
    }
    say(line);
}

void answer(const std::string& words)
{
    std::istringstream stream(words);
    std::string launch;
    std::string state;
    int number = 0;
    std::string text;
    stream >> launch >> state >> number >> std::ws;
    std::getline(stream, text, '|');
    std::string lines;
    for (std::string line; std::getline(stream, line, '|');) {
        lines += line + "\n";
    }
    qny_service_arg_t* list = nullptr;
    qny_service_args_add_string(&list, launch == "-" ? "" : launch.c_str());
    qny_service_args_add_string(&list, state.c_str());
    qny_service_args_add_int(&list, number);
    qny_service_args_add_string(&list, text.c_str());
    if (state != "malformed") {
        qny_service_args_add_string(&list, lines.c_str());
    }
    const std::lock_guard lock(mutex);
    if (qny_service_call(asker.c_str(), QNY_LAUNCH_STATE, &list, nullptr) != QNY_SUCCESS) {
        std::cerr << "not answered: " << qny_last_error() << std::endl;
    }
}

} // namespace

int main(int argc, char** argv)
{
    std::string name = "Peer";
    std::string family;
    std::string host;
    std::string certificate;
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
        } else if (argument == "--certificate" && hasNext) {
            certificate = argv[++i];
        } else if (argument == "--stay" && hasNext) {
            secondsToStay = std::atoi(argv[++i]);
        } else if (argument == "--password" && hasNext) {
            ++i;
        } else if (argument == "--deaf") {
            isDeaf = true;
        } else if (argument == "--launcher") {
            isLauncher = true;
            family = QNY_FAMILY_LAUNCHER;
        } else if (argument == "--as" && hasNext) {
            family = argv[++i]; // speaks like a launcher, and shows itself as this
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
        qny_output_create(QNY_LAUNCHER_PROGRAMS, QNY_STRING_T, nullptr, 0);
        qny_service_init(QNY_LAUNCHER_START, &onAsked, nullptr);
        qny_service_init(QNY_LAUNCHER_STOP, &onAsked, nullptr);
    }
    qny_options_t options;
    qny_options_init(&options);
    if (!host.empty()) {
        options.host_name = host.c_str();
    }
    options.private_certificate = certificate.c_str();
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
        } else if (line == "rename") {
            // Each is told before the next: a call tells first.
            for (int i = 1; i <= 2000; ++i) {
                qny_name_set(("renamed " + std::to_string(i)).c_str());
                qny_service_call("nobody", "at all", nullptr, nullptr);
            }
            say("renamed");
        } else if (line.starts_with("offer ")) {
            qny_output_set_string(QNY_LAUNCHER_PROGRAMS, line.c_str() + 6);
        } else if (line.starts_with("answer ")) {
            answer(line.substr(7));
        }
    }
    qny_stop();
    return 0;
}
