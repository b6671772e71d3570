// SPDX-License-Identifier: Apache-2.0
// The agent network between two processes on the loopback device, beside bare ZeroMQ in the same run, open and secured:
//   - a call with a value, until the same value is back in the callback of its answer: at most 1.2 times the time
//   - publications a second, none lost: at least 0.8 times as many
// The two take turns, and the median of the rounds counts. A busy machine slows both, though not quite alike: an
// agent's call wakes more threads than a bare socket does, and each waits for a processor. So beside each ratio, and
// without a goal, is that of the processor's time, of both processes together.
//
// bench_quenary [rounds [bytes ...]]
#include "sides.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr size_t mostBytes = 1024 * 1024;
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

// One measure of the two, round by round.
struct Series
{
    std::vector<double> raw;
    std::vector<double> ours;
    std::vector<double> ratios;
    std::vector<double> workRatios;
};

double workedBy(const bench::Side& side)
{
    const auto secondsOf = [](clockid_t clock) {
        timespec time {};
        clock_gettime(clock, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    };
    clockid_t others {};
    return secondsOf(CLOCK_PROCESS_CPUTIME_ID)
        + (clock_getcpuclockid(side.other(), &others) == 0 ? secondsOf(others) : 0);
}

template <typename Measure> void addRound(Series& series, bench::Side& raw, bench::Side& ours, const Measure& measure)
{
    double worked[2] {};
    double taken[2] {};
    int at = 0;
    for (bench::Side* side : { &raw, &ours }) {
        const double before = workedBy(*side);
        taken[at] = measure(*side);
        worked[at++] = workedBy(*side) - before;
    }
    series.raw.push_back(taken[0]);
    series.ours.push_back(taken[1]);
    series.ratios.push_back(taken[1] / taken[0]);
    series.workRatios.push_back(worked[1] / worked[0]);
}

int measure(bool secured, int rounds, const std::vector<size_t>& sizes)
{
    const auto raw = bench::startRawZmq(secured);
    const auto ours = bench::startQuenary(secured);
    Goals goals;
    std::printf("\n%-8s %8s | %9s %9s %6s %9s %6s | %9s %9s %6s %9s %6s\n", secured ? "secured" : "open", "bytes",
        "ZeroMQ us", "agents us", "ratio", "processor", "", "ZeroMQ /s", "agents /s", "ratio", "processor", "");
    for (const size_t bytes : sizes) {
        const auto times = static_cast<int>(std::clamp(bytesOfRoundTrips / static_cast<double>(bytes), 50.0, 1000.0));
        const auto count
            = static_cast<uint64_t>(std::clamp(bytesOfAStream / static_cast<double>(bytes), 100.0, 200'000.0));
        Series trips;
        Series streams;
        for (int round = 0; round < rounds; ++round) {
            addRound(trips, *raw, *ours, [&](bench::Side& side) { return side.roundTrip(bytes, times); });
            addRound(streams, *raw, *ours, [&](bench::Side& side) { return side.throughput(bytes, count); });
        }
        const double tripRatio = bench::median(trips.ratios);
        const double streamRatio = bench::median(streams.ratios);
        std::printf("%-8s %8zu | %9.1f %9.1f %6.2f %9.2f %6s | %9.0f %9.0f %6.2f %9.2f %6s\n", "", bytes,
            bench::median(trips.raw), bench::median(trips.ours), tripRatio, bench::median(trips.workRatios),
            goals.say(tripRatio <= mostOfTheTime), bench::median(streams.raw), bench::median(streams.ours), streamRatio,
            bench::median(streams.workRatios), goals.say(streamRatio >= leastOfTheThroughput));
        std::fflush(stdout);
    }
    std::printf("%-8s lost: %llu\n", "", static_cast<unsigned long long>(ours->lost()));
    return goals.missed + (ours->lost() > 0 ? 1 : 0);
}

} // namespace

int main(int argc, char** argv)
{
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 5;
    std::vector<size_t> sizes;
    for (int i = 2; i < argc; ++i) {
        sizes.push_back(std::strtoul(argv[i], nullptr, 10));
    }
    if (sizes.empty()) {
        sizes = { 16, 128, 1024, 16 * 1024, 128 * 1024, 1024 * 1024 };
    }
    if (rounds < 1 || !std::ranges::all_of(sizes, [](size_t bytes) { return bytes > 0 && bytes <= mostBytes; })) {
        std::fprintf(stderr, "usage: bench_quenary [rounds [bytes ...]], of at most %zu bytes\n", mostBytes);
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
            const int here = measure(secured, rounds, sizes);
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
