// SPDX-License-Identifier: Apache-2.0
// A peer in a process of its own, driven by lines on standard input. Fields are separated by tabs. It says on standard
// output, a line each, what it is told of; the tests wait for those lines.
#include "quenary.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

std::mutex outMutex;
void say(const std::string& line)
{
    const std::lock_guard lock(outMutex);
    std::fputs((line + "\n").c_str(), stdout);
    std::fflush(stdout);
}

// While blocked, every callback for an input waits: a slow reader.
std::mutex blockMutex;
std::condition_variable blockChanged;
bool blocked = false;
std::atomic<uint64_t> received { 0 };
std::atomic<uint64_t> lastSequence { 0 };
std::atomic<uint64_t> lostTold { 0 };
std::atomic<bool> quiet { false };
std::atomic<bool> outOfOrder { false };
std::atomic<bool> streaming { false };
std::thread streamer;
std::map<std::string, qny_agent_t*> agents;

std::string text(qny_value_type_t type, const void* value, size_t size)
{
    char number[64];
    switch (type) {
    case QNY_IMPULSE_T:
        return "impulse";
    case QNY_BOOL_T:
        return *static_cast<const bool*>(value) ? "true" : "false";
    case QNY_INTEGER_T:
        return std::to_string(*static_cast<const int32_t*>(value));
    case QNY_DOUBLE_T:
        std::snprintf(number, sizeof number, "%.17g", *static_cast<const double*>(value));
        return number;
    case QNY_STRING_T:
        return static_cast<const char*>(value);
    case QNY_DATA_T: {
        std::string hex;
        for (size_t i = 0; i < size && i < 64; ++i) {
            std::snprintf(number, sizeof number, "%02x", static_cast<const unsigned char*>(value)[i]);
            hex += number;
        }
        return hex + ":" + std::to_string(size);
    }
    default:
        return "?";
    }
}

void onPublication(const qny_publication_t* publication, void* user)
{
    {
        std::unique_lock lock(blockMutex);
        blockChanged.wait(lock, [] { return !blocked; });
    }
    if (!publication->last_value) {
        ++received;
        outOfOrder = outOfOrder || publication->sequence <= lastSequence;
        lastSequence = publication->sequence;
    }
    lostTold += publication->lost;
    if (!quiet) {
        say(std::string(static_cast<const char*>(user)) + "\t" + publication->agent_name + "\t" + publication->output
            + "\t" + std::to_string(publication->sequence) + "\t" + std::to_string(publication->lost) + "\t"
            + (publication->last_value ? "last" : "new") + "\t"
            + text(publication->type, publication->value, publication->size)
            + (publication->stand_in ? "\tstand-in" : ""));
    }
}

void onAgent(qny_agent_event_t event, const qny_agent_info_t* agent, void*)
{
    static const char* const names[] = { "", "entered", "updated", "exited" };
    std::string line = std::string(names[event]) + "\t" + agent->name + "\t" + agent->uuid + "\t" + agent->definition
        + "\t" + (agent->stand_in ? "stand-in" : "real") + "\t" + (agent->stoppable ? "stoppable" : "unstoppable")
        + "\t" + agent->executable;
    for (size_t i = 0; i < agent->arguments_count; ++i) {
        line += std::string("\t") + agent->arguments[i];
    }
    say(line);
}

void onCall(const char* sender, const char* uuid, const char* service, qny_service_arg_t* argument, size_t count,
    const char* token, void* user)
{
    std::string line = std::string("called\t") + service + "\t" + sender + "\t"
        + (token ? std::string("<") + token + ">" : "none") + "\t" + std::to_string(count);
    for (; argument; argument = argument->next) {
        const void* value = argument->type == QNY_STRING_T ? static_cast<const void*>(argument->c)
            : argument->type == QNY_DATA_T                 ? argument->data
                                                           : &argument->b;
        line += std::string("\t") + argument->name + "=" + qny_value_type_text(argument->type) + ":"
            + text(argument->type, value, argument->size);
    }
    say(line);
    if (const qny_certificate_t* caller = qny_caller_certificate()) {
        say(std::string("caller\t") + caller->name + "\t" + caller->public_key);
    }
    if (user) {
        qny_service_arg_t* list = nullptr;
        qny_service_args_add_string(&list, "answer");
        qny_service_call(uuid, "answer", &list, token);
    }
}

std::vector<std::string> split(const std::string& line)
{
    std::vector<std::string> fields;
    std::istringstream stream(line);
    for (std::string field; std::getline(stream, field, '\t');) {
        fields.push_back(field);
    }
    fields.resize(std::max<size_t>(fields.size(), 8));
    return fields;
}

qny_result_t publish(qny_agent_t* agent, const std::string& name, const std::string& type, const std::string& value)
{
    const qny_value_type_t kind = qny_value_type_from_text(type.c_str());
    const bool truth = value == "true";
    const auto integer = static_cast<int32_t>(std::strtol(value.c_str(), nullptr, 10));
    const double number = std::strtod(value.c_str(), nullptr);
    switch (kind) {
    case QNY_IMPULSE_T:
        return qny_agent_output_publish(agent, name.c_str(), kind, nullptr, 0, 0, nullptr);
    case QNY_BOOL_T:
        return qny_agent_output_publish(agent, name.c_str(), kind, &truth, sizeof truth, 0, nullptr);
    case QNY_INTEGER_T:
        return qny_agent_output_publish(agent, name.c_str(), kind, &integer, sizeof integer, 0, nullptr);
    case QNY_DOUBLE_T:
        return qny_agent_output_publish(agent, name.c_str(), kind, &number, sizeof number, 0, nullptr);
    case QNY_STRING_T:
        return qny_agent_output_publish(agent, name.c_str(), kind, value.c_str(), value.size() + 1, 0, nullptr);
    default:
        return qny_agent_output_publish(agent, name.c_str(), kind, value.data(), value.size(), 0, nullptr);
    }
}

qny_agent_t* agentNamed(const std::string& name)
{
    return name.empty() ? qny_default_agent() : agents[name];
}

void done(const std::string& verb, qny_result_t result)
{
    say("done\t" + verb + "\t" + std::to_string(result) + "\t" + (result == QNY_SUCCESS ? "" : qny_last_error()));
}

void obey(const std::vector<std::string>& field, const qny_options_t& options)
{
    const std::string& verb = field[0];
    if (verb == "start") {
        done(verb, qny_start(&options));
        if (char* endpoint = qny_endpoint()) {
            say(std::string("endpoint\t") + endpoint);
            qny_free(endpoint);
        }
    } else if (verb == "stop") {
        qny_stop();
        done(verb, QNY_SUCCESS);
    } else if (verb == "name") {
        done(verb, qny_name_set(field[1].c_str()));
    } else if (verb == "agent") { // name, stand-in
        const qny_agent_options_t made { nullptr, field[2] == "stand-in" };
        agents[field[1]] = qny_agent_new(field[1].c_str(), &made);
        done(verb, QNY_SUCCESS);
    } else if (verb == "activate") {
        done(verb, qny_agent_activate(agentNamed(field[1])));
    } else if (verb == "deactivate") {
        done(verb, qny_agent_deactivate(agentNamed(field[1])));
    } else if (verb == "output") { // name, type, agent
        done(verb,
            qny_agent_output_create(
                agentNamed(field[3]), field[1].c_str(), qny_value_type_from_text(field[2].c_str()), nullptr, 0));
    } else if (verb == "publish") { // name, type, value, agent
        done(verb, publish(agentNamed(field[4]), field[1], field[2], field[3]));
    } else if (verb == "burst") { // name, count, bytes of each
        const std::string value(std::stoul(field[3]), 'x');
        for (unsigned long i = std::stoul(field[2]); i > 0; --i) {
            qny_output_set_data(field[1].c_str(), value.data(), value.size());
        }
        done(verb, QNY_SUCCESS);
    } else if (verb == "input") { // name, type, agent
        qny_agent_t* agent = agentNamed(field[3]);
        const qny_result_t result
            = qny_agent_input_create(agent, field[1].c_str(), qny_value_type_from_text(field[2].c_str()), nullptr, 0);
        static const char tag[] = "got";
        qny_agent_observe_input_publications(agent, field[1].c_str(), onPublication, const_cast<char*>(tag));
        done(verb, result);
    } else if (verb == "map") {
        done(verb, qny_mapping_add(field[1].c_str(), field[2].c_str(), field[3].c_str()));
    } else if (verb == "monitor") {
        static const char tag[] = "seen";
        done(verb, qny_monitor_add(field[1].c_str(), onPublication, const_cast<char*>(tag)));
    } else if (verb == "service") { // name, "answering"
        static char answering = 1;
        done(verb, qny_service_init(field[1].c_str(), onCall, field[2] == "answering" ? &answering : nullptr));
    } else if (verb == "argument") { // service, name, type
        done(verb, qny_service_arg_add(field[1].c_str(), field[2].c_str(), qny_value_type_from_text(field[3].c_str())));
    } else if (verb == "call") { // agent, service, token, text
        qny_service_arg_t* list = nullptr;
        qny_service_args_add_string(&list, field[4].c_str());
        done(verb,
            qny_service_call(field[1].c_str(), field[2].c_str(), &list, field[3].empty() ? nullptr : field[3].c_str()));
    } else if (verb == "alternate") { // output, agent, service, count: publishes a number and calls with it, in turn
        for (int i = 1; i <= std::stoi(field[4]); ++i) {
            qny_output_set_int(field[1].c_str(), i);
            qny_service_arg_t* list = nullptr;
            qny_service_args_add_int(&list, i);
            qny_service_call(field[2].c_str(), field[3].c_str(), &list, nullptr);
        }
        done(verb, QNY_SUCCESS);
    } else if (verb == "block" || verb == "unblock") {
        const std::lock_guard lock(blockMutex);
        blocked = verb == "block";
        blockChanged.notify_all();
        done(verb, QNY_SUCCESS);
    } else if (verb == "quiet") {
        quiet = true;
        done(verb, QNY_SUCCESS);
    } else if (verb == "counts") { // input
        say("counts\t" + std::to_string(received) + "\t" + std::to_string(lastSequence) + "\t"
            + std::to_string(lostTold) + "\t" + std::to_string(qny_input_lost(field[1].c_str())) + "\t"
            + (outOfOrder ? "disordered" : "ordered"));
    } else if (verb == "heard") { // agent
        say(std::string("heard\t") + (qny_agent_is_heard(field[1].c_str()) ? "yes" : "no"));
    } else if (verb == "observe-stop") {
        done(verb,
            qny_observe_stop_requests(
                [](const char* name, const char*, void*) {
                    const qny_certificate_t* caller = qny_caller_certificate();
                    say(std::string("asked-to-stop\t") + name + "\t" + (caller ? caller->name : ""));
                },
                nullptr));
    } else if (verb == "uuid") {
        char* uuid = qny_uuid();
        say(std::string("uuid\t") + uuid);
        qny_free(uuid);
    } else if (verb == "statistics") {
        qny_statistics_t statistics;
        qny_statistics(&statistics);
        say("statistics\t" + std::to_string(statistics.publications_sent) + "\t"
            + std::to_string(statistics.publications_received) + "\t" + std::to_string(statistics.publications_dropped)
            + "\t" + std::to_string(statistics.publications_lost) + "\t" + std::to_string(statistics.messages_refused));
    } else if (verb == "stream") { // name: publishes a number each millisecond until told "end-stream"
        streaming = true;
        streamer = std::thread([name = field[1]] {
            for (int i = 1; streaming; ++i) {
                qny_output_set_int(name.c_str(), i);
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
        done(verb, QNY_SUCCESS);
    } else if (verb == "end-stream") {
        streaming = false;
        streamer.join();
        done(verb, QNY_SUCCESS);
    } else if (verb == "leave-without-stop") {
        std::exit(0);
    } else {
        done(verb, QNY_ERROR_UNKNOWN);
    }
}

} // namespace

int main(int argc, char** argv)
{
    qny_options_t options;
    qny_options_init(&options);
    static const char* const masked[] = { "--password", "-a", nullptr };
    qny_set_command_line(argc, argv, masked);
    std::string name = "peer";
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        const char* value = argv[i + 1];
        const auto number = std::strtoul(value, nullptr, 10);
        if (option == "--port") {
            options.port = static_cast<uint16_t>(number);
        } else if (option == "--name") {
            name = value;
        } else if (option == "--device") {
            options.device = value;
        } else if (option == "--listen") {
            options.listen_port = static_cast<uint16_t>(number);
        } else if (option == "--peers") {
            options.peers = value;
            options.multicast = false;
        } else if (option == "--private") {
            options.private_certificate = value;
        } else if (option == "--public") {
            options.public_certificates = value;
        } else if (option == "--log") {
            qny_log_set_handler(
                [](qny_log_level_t level, const char* message, void*) {
                    if (level >= QNY_LOG_WARNING) {
                        say(std::string("log\t") + message);
                    }
                },
                nullptr);
        } else if (option == "--max-message") {
            options.max_message_bytes = number;
        } else if (option == "--max-queue") {
            options.max_peer_queue_bytes = number;
        }
    }
    qny_name_set(name.c_str());
    qny_observe_agents(onAgent, nullptr);
    say("ready");
    for (std::string line; std::getline(std::cin, line);) {
        obey(split(line), options);
    }
    streaming = false;
    if (streamer.joinable()) {
        streamer.join();
    }
    qny_stop();
    return 0;
}
