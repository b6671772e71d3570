// SPDX-License-Identifier: Apache-2.0
// The agent network between two processes on the loopback device, beside bare ZeroMQ in the same run, open and secured:
//   - a call with a value and its answer with the same value: at most 1.2 times the time
//   - publications a second, none lost: at least 0.8 times as many
// The two take turns, and the median of the rounds counts: a busy machine slows both alike.
//
// bench_quenary [rounds]
#include "sides.h"

#include <cstdio>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr size_t sizes[] { 16, 128, 1024, 16 * 1024, 128 * 1024, 1024 * 1024 };
constexpr double mostOfTheTime = 1.2;
constexpr double leastOfTheThroughput = 0.8;
// Of one measure of one round.
constexpr double bytesOfAStream = 128.0 * 1024 * 1024;
constexpr double bytesOfRoundTrips = 32.0 * 1024 * 1024;

struct Goals
{
    int missed = 0;
    const char* say(bool kept)
    {
        missed += kept ? 0 : 1;
        return kept ? "" : "MISSED";
    }
};

int measure(bool secured, int rounds)
{
    const auto raw = bench::startRawZmq(secured);
    const auto ours = bench::startQuenary(secured);
    Goals goals;
    std::printf("\n%-8s %9s | %10s %10s %6s %6s | %12s %12s %6s %6s\n", secured ? "secured" : "open", "bytes",
        "ZeroMQ us", "agents us", "ratio", "", "ZeroMQ /s", "agents /s", "ratio", "");
    for (const size_t bytes : sizes) {
        const auto times = static_cast<int>(std::clamp(bytesOfRoundTrips / static_cast<double>(bytes), 50.0, 1000.0));
        const auto count
            = static_cast<uint64_t>(std::clamp(bytesOfAStream / static_cast<double>(bytes), 100.0, 200'000.0));
        std::vector<double> rawTimes;
        std::vector<double> ourTimes;
        std::vector<double> rawRates;
        std::vector<double> ourRates;
        for (int round = 0; round < rounds; ++round) {
            rawTimes.push_back(raw->roundTrip(bytes, times));
            ourTimes.push_back(ours->roundTrip(bytes, times));
            rawRates.push_back(raw->throughput(bytes, count));
            ourRates.push_back(ours->throughput(bytes, count));
        }
        const double rawTime = bench::median(rawTimes);
        const double ourTime = bench::median(ourTimes);
        const double rawRate = bench::median(rawRates);
        const double ourRate = bench::median(ourRates);
        std::printf("%-8s %9zu | %10.1f %10.1f %6.2f %6s | %12.0f %12.0f %6.2f %6s\n", "", bytes, rawTime, ourTime,
            ourTime / rawTime, goals.say(ourTime <= mostOfTheTime * rawTime), rawRate, ourRate, ourRate / rawRate,
            goals.say(ourRate >= leastOfTheThroughput * rawRate));
        std::fflush(stdout);
    }
    std::printf("%-8s lost: %llu\n", "", static_cast<unsigned long long>(ours->lost()));
    return goals.missed + (ours->lost() > 0 ? 1 : 0);
}

} // namespace

int main(int argc, char** argv)
{
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 5;
    if (rounds < 1) {
        std::fprintf(stderr, "at least one round\n");
        return 2;
    }
    std::printf("a call and its answer: at most %.1f times ZeroMQ's time; publications: at least %.1f times as many\n",
        mostOfTheTime, leastOfTheThroughput);
    std::fflush(stdout);
    int missed = 0;
    for (const bool secured : { false, true }) {
        // A process of its own for each: neither finds anything that the other has left.
        const pid_t child = fork();
        if (child == 0) {
            const int here = measure(secured, rounds);
            std::fflush(stdout);
            _exit(here);
        }
        int status = 0;
        waitpid(child, &status, 0);
        missed += WIFEXITED(status) ? WEXITSTATUS(status) : 1;
    }
    std::printf("%d goals missed\n", missed);
    return missed == 0 ? 0 : 1;
}
