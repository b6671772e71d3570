// SPDX-License-Identifier: Apache-2.0

// What each attack of strangers takes from a recording: the same events without it and with it, in turn, and of these
// pairs the medians. All of them are stored, which is looked up.
//
//   bench_strangers [--events 500000] [--rate 0] [--rounds 3] [--link 1000] [ATTACK]...
//
//   --rate   events a second; 0: as fast as the network takes them
//   --link   Mbit/s that the strangers can send; 0: as fast as this machine makes it. An attack that is slower anyway,
//   as
//            most are, stays as it is.
//   ATTACK   every one unless some are named, by their first words
//
// The strangers work on the processors of this machine, which they take from publisher and recorder, other than those
// on machines of their own would. So beside the events a second there is what the recorder's own process works: for an
// event, and for each second of the attack beyond what the events alone need.
#include "attackers.h"
#include "connections.h"
#include "measures.h"
#include "processfigures.h"
#include "recordedpump.h"
#include "storeload.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

using namespace recorder;
using namespace recorder::bench;
using namespace recorder::testing;
using Measures::median;

namespace {

constexpr double GOAL = 0.8;

struct Run
{
    PumpResult pumped;
    std::uint64_t done = 0; // by the strangers
};

Target targetOf(quint16 minePort)
{
    Target target { TestNetwork::port(), {}, {}, "pump" };
    for (const HeardPeer& each : listenForPeers(target.discoveryPort)) {
        (each.port == minePort ? target.other : target.attacked) = each;
    }
    must(target.attacked.port != 0 && target.other.port != 0, "recorder or publisher is not heard");
    return target;
}

Run run(ScriptedHost& host, const StorePlace& place, const PumpOptions& options, const NamedAttack* attack)
{
    RecorderProcess recorder("Bench recorder");
    must(recorder.start(place.options), "the recorder does not start");
    Run result;
    {
        std::unique_ptr<Attack> strangers;
        if (attack) {
            char* mine = qny_endpoint();
            strangers = attack->begin(targetOf(QByteArray(mine).split(':').constLast().toUShort()));
            qny_free(mine);
            must(waitUntil([&] { return strangers->done() > 0; }, 20'000), "the strangers do nothing");
        }
        result.pumped = pump(host, recorder, place, options);
        result.done = strangers ? strangers->done() : 0;
    }
    must(recorder.terminate() == 0, "the recorder does not end well");
    const std::unique_ptr<Store> store = place.open();
    must(readBack(*store, result.pumped, options).isWhole(), "something was lost");
    must(bool(store->remove(result.pumped.uuid)), "not deleted");
    return result;
}

// Until the recorder's network has taken all of them. How long a record takes to close is another matter: it waits some
// seconds for agents that fell silent, as strangers' do.
double perSecondOf(const PumpResult& pumped)
{
    return static_cast<double>(pumped.events) / pumped.sentSeconds;
}

void compare(ScriptedHost& host, const StorePlace& place, const PumpOptions& options, const NamedAttack& attack,
    std::int64_t rounds)
{
    std::vector<double> calmPerSecond;
    std::vector<double> shares;
    std::vector<double> calmNs;
    std::vector<double> work;
    std::vector<double> extra;
    std::uint64_t done = 0;
    for (std::int64_t round = 0; round < rounds; ++round) {
        const PumpResult calm = run(host, place, options, nullptr).pumped;
        const Run attacked = run(host, place, options, &attack);
        calmPerSecond.push_back(perSecondOf(calm));
        shares.push_back(perSecondOf(attacked.pumped) / perSecondOf(calm));
        calmNs.push_back(calm.recorderWorked * 1e9 / static_cast<double>(calm.events));
        work.push_back(attacked.pumped.recorderWorked / calm.recorderWorked);
        extra.push_back((attacked.pumped.recorderWorked - calm.recorderWorked) / attacked.pumped.storedSeconds);
        done += attacked.done;
    }
    std::printf("%-24s %9.0f %6.2f %-6s %9.0f %6.2f %8.1f%% %10llu\n", attack.name, median(calmPerSecond),
        median(shares), median(shares) >= GOAL ? "met" : "MISSED", median(calmNs), median(work), 100 * median(extra),
        static_cast<unsigned long long>(done));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    QStringList words = application.arguments().mid(1);
    PumpOptions options;
    options.events = takeNumber(words, "--events", 500'000);
    options.perSecond = static_cast<double>(takeNumber(words, "--rate", 0));
    const auto rounds = takeNumber(words, "--rounds", 3);
    const auto link = takeNumber(words, "--link", 1000);
    const auto isAsked = [&words](const NamedAttack& attack) {
        return words.isEmpty()
            || std::ranges::any_of(words, [&](const QString& word) { return QString(attack.name).startsWith(word); });
    };
    must(options.events > 0 && rounds > 0 && std::ranges::any_of(allAttacks(), isAsked),
        "usage: bench_strangers [--events 500000] [--rate 0] [--rounds 3] [--link 1000] [ATTACK]...");
    setLinkSpeed(static_cast<double>(link) * 125'000);
    must(TestNetwork::join(), "cannot join the network");
    std::printf("without an attack, and how many times that with it (goal of the events: at least %.1f)\n"
                "%-24s %9s %6s %-6s %9s %6s %9s %10s\n",
        GOAL, "attack", "events/s", "times", "", "ns/event", "times", "extra/s", "done");
    {
        ScriptedHost host(qny_default_agent());
        const QTemporaryDir directory;
        const StorePlace place = placeOf("embedded", directory.path());
        for (const NamedAttack& attack : allAttacks()) {
            if (isAsked(attack)) {
                compare(host, place, options, attack, rounds);
            }
        }
    }
    TestNetwork::leave();
    return 0;
}
