// SPDX-License-Identifier: Apache-2.0
#include "runner.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <exception>
#include <thread>

namespace samples {

namespace {

// Written by a signal handler and by the library's callback thread, read by the main thread between two steps.
std::atomic<bool> stopAsked { false };
static_assert(std::atomic<bool>::is_always_lock_free);

void onSignal(int)
{
    stopAsked = true;
}

void onStopRequest(const char*, const char*, void*)
{
    stopAsked = true;
}

void watchSignals()
{
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

// False when the journal fails. A process that was held up (a suspended machine, a busy one) goes on from now instead
// of making up for seconds of steps at once.
bool runSteps(SampleAgent& agent, Publisher& publisher, Journal& journal)
{
    constexpr auto mostCaughtUp = std::chrono::milliseconds(500);
    const auto period = agent.period();
    auto deadline = std::chrono::steady_clock::now();
    for (std::uint64_t tick = 0; !stopAsked; ++tick) {
        agent.step(tick, publisher);
        if (!journal.flush()) {
            return false;
        }
        deadline += period;
        const auto now = std::chrono::steady_clock::now();
        if (now > deadline + mostCaughtUp) {
            deadline = now;
        }
        std::this_thread::sleep_until(deadline);
    }
    return true;
}

} // namespace

int runSample(const ProgramInfo& info, const char* family, const AgentFactory& create, int argc, char** argv)
{
    const auto parsed = parseOptions(info, { argv + 1, argv + argc });
    if (const auto* end = std::get_if<ParseEnd>(&parsed)) {
        std::fputs(end->text.c_str(), end->status == 0 ? stdout : stderr);
        return end->status;
    }
    const Options& options = std::get<Options>(parsed);
    const auto fail = [&info](const std::string& what) {
        std::fprintf(stderr, "%s: %s\n", info.program.c_str(), what.c_str());
        return 1;
    };

    watchSignals();
    Journal journal;
    std::string error;
    if (!options.journal.empty() && !journal.open(options.journal, &error)) {
        return fail("cannot write the journal \"" + options.journal + "\": " + error);
    }

    try {
        qny_set_command_line(argc, argv, nullptr);
        if (qny_name_set(options.name.c_str()) != QNY_SUCCESS || qny_family_set(family) != QNY_SUCCESS) {
            return fail(qny_last_error());
        }
        qny_observe_stop_requests(onStopRequest, nullptr);

        Publisher publisher(options.name, journal);
        const auto agent = create(options);
        agent->declare(publisher);

        qny_options_t network;
        qny_options_init(&network);
        network.device = options.device.empty() ? nullptr : options.device.c_str();
        network.port = options.port;
        network.peers = options.peers.empty() ? nullptr : options.peers.c_str();
        network.private_certificate = options.privateCertificate.c_str();
        network.public_certificates = options.publicCertificates.c_str();
        if (qny_start(&network) != QNY_SUCCESS) {
            return fail(std::string("cannot join the network: ") + qny_last_error());
        }
        const bool isJournalWhole = runSteps(*agent, publisher, journal);
        qny_stop();
        if (!isJournalWhole) {
            return fail("the journal \"" + options.journal + "\" cannot be written any more; is the disk full?");
        }
    } catch (const std::exception& exception) {
        qny_stop();
        return fail(exception.what());
    }
    return 0;
}

} // namespace samples
