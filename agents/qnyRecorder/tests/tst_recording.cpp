// SPDX-License-Identifier: Apache-2.0
#include "recording/eventqueue.h"
#include "recording/recording.h"
#include "recording/storedfilters.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <condition_variable>

using namespace recorder;

namespace {

constexpr int64_t START_US = 1'700'000'000'000'000;

/// What a recording wrote, kept in memory. Outlives the writer.
struct Written
{
    std::mutex mutex;
    std::condition_variable changed;
    bool isBlocked = false; ///< append() waits
    StoreError failWith = StoreError::None;
    std::vector<Event> events;
    std::vector<OutputValue> initials;
    std::vector<AgentDefinition> definitions;
    std::vector<std::string> remarks;
    std::map<std::pair<std::string, std::string>, std::map<LostIn, uint64_t>> lost;
    int64_t durationUs = -1;
};

class MemoryWriter final : public RecordWriter
{
public:
    explicit MemoryWriter(Written& written)
        : _written(written)
    {
    }
    const std::string& uuid() const override { return _uuid; }
    StoreResult define(std::string_view agent, std::string_view json) override
    {
        _written.definitions.push_back({ std::string(agent), std::string(json) });
        return StoreResult::done();
    }
    StoreResult setInitial(std::string_view agent, std::string_view output, const ValueView& value) override
    {
        _written.initials.push_back({ std::string(agent), std::string(output), value });
        return StoreResult::done();
    }
    StoreResult append(const EventView& event) override
    {
        std::unique_lock lock(_written.mutex);
        _written.changed.wait(lock, [this] { return !_written.isBlocked; });
        _written.events.emplace_back(event);
        return _written.failWith == StoreError::None ? StoreResult::done()
                                                     : StoreResult::failed(_written.failWith, "no space left");
    }
    void countLost(std::string_view agent, std::string_view output, LostIn where, uint64_t events) override
    {
        _written.lost[{ std::string(agent), std::string(output) }][where] += events;
    }
    StoreResult tick(int64_t) override { return StoreResult::done(); }
    StoreResult flush() override { return StoreResult::done(); }
    StoreResult setFacts(const RecordFacts&) override { return StoreResult::done(); }
    StoreResult settle() override { return StoreResult::done(); }
    RecordFacts facts() const override { return {}; }
    void dropUnstored() override { }
    StoreResult close(int64_t durationUs) override
    {
        _written.durationUs = durationUs;
        return StoreResult::done();
    }
    Completeness completeness() const override { return {}; }
    void remark(std::string_view sentence) override { _written.remarks.emplace_back(sentence); }
    int64_t lastEventUs() const override { return _written.events.empty() ? 0 : _written.events.back().timeUs; }
    uint64_t eventsStored() const override { return _written.events.size(); }

private:
    Written& _written;
    const std::string _uuid = "record";
};

/// A recording with a clock that the test sets, and a sender.
struct Bench
{
    Written written;
    std::atomic<int64_t> nowUs { START_US };
    std::string failure;
    std::unique_ptr<Recording> recording;

    explicit Bench(const std::string& filterText = {}, size_t queueBytes = 64 * 1024 * 1024)
    {
        RecordingFilter filter;
        std::string reason;
        if (!RecordingFilter::parse(filterText, filter, reason)) {
            qFatal("%s", reason.c_str());
        }
        Recording::Options options;
        options.queueBytes = queueBytes;
        options.now = [this] { return nowUs.load(); };
        options.onFailed = [this](const std::string& why) { failure = why; };
        recording = std::make_unique<Recording>(
            std::make_unique<MemoryWriter>(written), std::move(filter), START_US, std::move(options));
    }
    ~Bench() { recording.reset(); }

    Recording::Source* add(const std::string& name, bool isThereAtStart = true, const std::string& peer = "peer")
    {
        const std::string definition = R"({"outputs":[{"name":"level","type":"double"}]})";
        return recording->addAgent(
            KnownAgent { name + "-uuid", name, "", peer, definition, false, false }, isThereAtStart);
    }

    struct Options
    {
        bool isLastValue = false;
        uint64_t lost = 0;
        uint64_t sequence = 0; ///< 0: the next
        int64_t receivedUs = 0; ///< 0: 200 us after the stamp
    };
    void publish(Recording::Source* source, const char* output, double value, int64_t stampUs)
    {
        publish(source, output, value, stampUs, Options());
    }
    void publish(Recording::Source* source, const char* output, double value, int64_t stampUs, Options options)
    {
        qny_publication_t publication {};
        publication.output = output;
        publication.type = QNY_DOUBLE_T;
        publication.value = &value;
        publication.size = sizeof value;
        publication.time_us = stampUs;
        publication.received_us = options.receivedUs ? options.receivedUs : stampUs + 200;
        publication.sequence = options.sequence ? options.sequence : ++_sequence;
        publication.lost = options.lost;
        publication.last_value = options.isLastValue;
        Recording::onPublication(&publication, source);
    }
    int64_t finish()
    {
        recording->end();
        return recording->finish();
    }
    std::vector<int64_t> times() const
    {
        std::vector<int64_t> result;
        for (const Event& event : written.events) {
            result.push_back(event.timeUs);
        }
        return result;
    }

private:
    uint64_t _sequence = 0;
};

using Times = std::vector<int64_t>;

/// What the record of one event says is missing.
uint64_t lossOf(Bench& bench)
{
    bench.finish();
    return bench.times() == Times { 100 } ? bench.written.lost[{ "pump", "level" }][LostIn::Network] : 0;
}

} // namespace

class RecordingTest : public QObject
{
    Q_OBJECT

private slots:
    // ---- times

    void pausesAreCutOutOfTheTimeline()
    {
        RecordTimeline timeline(1000);
        QCOMPARE(timeline.toRecord(900), 0);
        QCOMPARE(timeline.toRecord(1500), 500);
        timeline.pause(2000);
        QCOMPARE(timeline.elapsed(9000), 1000);
        QVERIFY(!timeline.toRecord(2000));
        QCOMPARE(timeline.toRecord(1999), 999); // published before the pause, came in it
        timeline.pause(2500); // changes nothing
        timeline.resume(3000);
        QVERIFY(!timeline.toRecord(2999));
        QCOMPARE(timeline.toRecord(3000), 1000);
        QCOMPARE(timeline.elapsed(3500), 1500);
        timeline.resume(3600); // changes nothing
        timeline.pause(4000);
        timeline.resume(5000);
        QCOMPARE(timeline.toRecord(5001), 2001);
        timeline.end(6000);
        QCOMPARE(timeline.toRecord(6000), 3000);
        QVERIFY(!timeline.toRecord(6001));
        QCOMPARE(timeline.elapsed(9000), 3000);
    }

    void clocksThatAgreeAreLeftAloneAndOthersAreBroughtOver()
    {
        SenderClocks clocks;
        QCOMPARE(clocks.align("near", false, 1'000'000, 1'030'000), 1'000'000);
        QCOMPARE(clocks.align("far", false, 5'000'000, 1'000'000), 1'000'000);
        // A machine agrees with itself, however busy it is, unless the sender makes stamps of its own.
        QCOMPARE(clocks.align("busy", true, 1'000'000, 2'500'000), 1'000'000);
        QCOMPARE(clocks.align("inventive", true, 1'000'000, 9'000'000), 9'000'000);
        // Once settled it holds, however late something comes: intervals are the sender's.
        QCOMPARE(clocks.align("far", false, 5'000'700, 3'000'000), 1'000'700);
        QCOMPARE(clocks.align("near", false, 1'000'001, 9'000'000), 1'000'001);
    }

    // ---- the queue

    void whatIsSeldomSaidDoesNotPileUpWhileNothingIsTaken()
    {
        EventQueue queue(1'000);
        for (int i = 0; i < 1'000; ++i) {
            for (const char* agent : { "one", "two" }) {
                queue.addDefinition(agent, std::to_string(i));
            }
            queue.addNetworkLoss(0, 1);
            queue.addNetworkLoss(1, 2);
        }
        EventBatch batch;
        queue.take(batch, std::chrono::milliseconds(0));
        QCOMPARE(batch.definitions.size(), size_t(2));
        QCOMPARE(batch.definitions[0].agent, std::string("one"));
        QCOMPARE(batch.definitions[1].json, std::string("999"));
        const std::map<uint32_t, uint64_t> losses { { 0, 1'000 }, { 1, 2'000 } };
        QVERIFY(batch.networkLosses == losses);
        batch.clear();
        QVERIFY(batch.isEmpty());
    }

    // ---- recording

    void eventsAreStoredWithTheirTimesNamesAndValues()
    {
        Bench bench;
        auto* pump = bench.add("pump");
        bench.publish(pump, "level", 1.5, START_US + 10);
        bench.publish(pump, "level", 2.5, START_US + 1'000'010);
        bench.nowUs = START_US + 2'000'000;
        QCOMPARE(bench.finish(), 2'000'000);
        QCOMPARE(bench.written.events.size(), size_t(2));
        QVERIFY(bench.written.events[0] == Event(10, "pump", "level", ValueView::fromDouble(1.5)));
        QVERIFY(bench.written.events[1] == Event(1'000'010, "pump", "level", ValueView::fromDouble(2.5)));
        QCOMPARE(bench.written.definitions.size(), size_t(1));
        QCOMPARE(bench.written.durationUs, 2'000'000);
        QVERIFY(bench.written.lost.empty());
    }

    void aHundredThousandEventsOfManyTypesComeThroughInOrder()
    {
        Bench bench;
        auto* pump = bench.add("pump");
        constexpr int COUNT = 100'000;
        for (int i = 0; i < COUNT; ++i) {
            bench.publish(pump, i % 2 ? "level" : "other", i, START_US + i);
        }
        bench.nowUs = START_US + COUNT;
        bench.finish();
        QCOMPARE(bench.written.events.size(), size_t(COUNT));
        for (int i = 0; i < COUNT; ++i) {
            const Event& event = bench.written.events[static_cast<size_t>(i)];
            QCOMPARE(event.timeUs, i);
            QCOMPARE(event.value.view().real, i);
        }
    }

    void lastValuesAtTheStartAreInitialAndThoseOfALatecomerAreEvents()
    {
        Bench bench;
        auto* early = bench.add("early", true);
        bench.publish(
            early, "level", 1.0, START_US - 77'000'000, { .isLastValue = true, .receivedUs = START_US + 100 });
        auto* late = bench.add("late", false);
        bench.publish(
            late, "level", 2.0, START_US + 400'000, { .isLastValue = true, .receivedUs = START_US + 500'000 });
        bench.publish(early, "level", 3.0, START_US + 600'000);
        bench.nowUs = START_US + 1'000'000;
        bench.finish();
        QCOMPARE(bench.written.initials.size(), size_t(1));
        QVERIFY((bench.written.initials[0] == OutputValue { "early", "level", ValueView::fromDouble(1.0) }));
        QCOMPARE(bench.times(), (Times { 500'000, 600'000 }));
    }

    void aMonitorThatComesAliveAgainTellsNothingTwiceButItsGapIsCounted()
    {
        Bench bench;
        auto* pump = bench.add("pump");
        bench.publish(pump, "level", 1.0, START_US + 10, { .sequence = 7 });
        bench.publish(pump, "level", 1.0, START_US + 10, { .isLastValue = true, .sequence = 7 });
        QCOMPARE(bench.add("pump", false), pump);
        bench.publish(
            pump, "level", 4.0, START_US + 50, { .isLastValue = true, .sequence = 10, .receivedUs = START_US + 60 });
        bench.nowUs = START_US + 100;
        bench.finish();
        QCOMPARE(bench.times(), (Times { 10, 60 }));
        QCOMPARE((bench.written.lost[{ "pump", "level" }][LostIn::Network]), uint64_t(2));
    }

    void whatAnAgentFirstPublishesWhileItIsAwayIsCounted()
    {
        // Given an agent that was there at the start and had published nothing, which goes and comes back
        Bench bench;
        auto* pump = bench.add("pump");
        bench.recording->loseSightOf("pump-uuid");
        QCOMPARE(bench.add("pump", false), pump);
        // When its third publication is told as the one that it holds now
        bench.publish(pump, "level", 3.0, START_US + 50,
            { .isLastValue = true, .lost = 3, .sequence = 3, .receivedUs = START_US + 60 });
        bench.nowUs = START_US + 100;
        bench.finish();
        // Then it is no value of the start, and the two before it are lost
        QCOMPARE(bench.times(), (Times { 60 }));
        QVERIFY(bench.written.initials.empty());
        QCOMPARE((bench.written.lost[{ "pump", "level" }][LostIn::Network]), uint64_t(2));
    }

    void anAgentThatFellSilentAndDidNotComeBackIsRemarked()
    {
        Bench bench;
        const auto fallSilent = [&](const std::string& uuid, const std::string& name, int64_t afterUs) {
            const KnownAgent agent { uuid, name, "", "peer", "{}", false, false };
            bench.publish(bench.recording->addAgent(agent, true), "level", 1.0, START_US + afterUs);
            bench.recording->loseSightOf(uuid);
            return agent;
        };
        bench.recording->addAgent(fallSilent("1", "back", 100'000), false);
        fallSilent("2", "gone", 200'000);
        fallSilent("3", "restarted", 300'000);
        fallSilent("4", "restarted", 400'000);
        bench.recording->addAgent(KnownAgent { "5", "mute", "", "peer", R"({"outputs":[]})", false, false }, true);
        bench.recording->loseSightOf("5");
        bench.recording->loseSightOf("nobody");
        bench.nowUs = START_US + 500'000;
        bench.finish();
        const std::vector<std::string> remarks {
            "\"gone\" fell silent after 0.200 s without taking its leave: what it published since is neither recorded "
            "nor counted.",
            "\"restarted\" fell silent after 0.300 s without taking its leave, the first of 2 times: what it published "
            "since is neither recorded nor counted.",
        };
        QCOMPARE(bench.written.remarks, remarks);
    }

    void aNetworkThatBreaksDownIsNotRemarkedAgentByAgent()
    {
        Bench bench;
        for (int i = 0; i < 100; ++i) {
            bench.publish(bench.add("pump " + std::to_string(i)), "level", 1.0, START_US + 1);
            bench.recording->loseSightOf("pump " + std::to_string(i) + "-uuid");
        }
        bench.finish();
        QCOMPARE(bench.written.remarks.size(), size_t(21));
        QCOMPARE(bench.written.remarks.back(), std::string("80 more agents fell silent without taking their leave."));
    }

    void aGapThatReachesIntoAPauseIsALoss()
    {
        Bench bench;
        auto* pump = bench.add("pump");
        bench.publish(pump, "level", 1.0, START_US + 100);
        bench.nowUs = START_US + 1000;
        bench.recording->pause();
        // Some of the three may have been published before the pause.
        bench.publish(pump, "level", 5.0, START_US + 1500, { .lost = 3, .sequence = 5 });
        QCOMPARE(lossOf(bench), uint64_t(3));
    }

    void whatAnAgentWasMissedWithIsCountedAfterTheEndToo_data()
    {
        QTest::addColumn<int>("publishedUs");
        QTest::addColumn<uint64_t>("lost");
        QTest::newRow("the last of it published before the end") << 900 << uint64_t(4);
        QTest::newRow("after the end") << 1500 << uint64_t(3);
    }

    void whatAnAgentWasMissedWithIsCountedAfterTheEndToo()
    {
        QFETCH(const int, publishedUs);
        QFETCH(const uint64_t, lost);
        Bench bench;
        auto* pump = bench.add("pump");
        bench.publish(pump, "level", 1.0, START_US + 100, { .sequence = 1 });
        bench.nowUs = START_US + 1000;
        bench.recording->end();
        bench.publish(pump, "level", 5.0, START_US + publishedUs,
            { .isLastValue = true, .lost = 4, .sequence = 5, .receivedUs = START_US + 2000 });
        QCOMPARE(lossOf(bench), lost);
    }

    void whatFallsIntoAPauseIsLeftOutAndIsNoLoss()
    {
        Bench bench;
        auto* pump = bench.add("pump");
        bench.publish(pump, "level", 1.0, START_US + 100);
        bench.nowUs = START_US + 1000;
        bench.recording->pause();
        QVERIFY(bench.recording->isPaused());
        bench.publish(pump, "level", 2.0, START_US + 1500);
        bench.publish(pump, "level", 2.0, START_US + 1600, { .lost = 3 });
        bench.nowUs = START_US + 5000;
        QCOMPARE(bench.recording->elapsedUs(), 1000);
        bench.recording->resume();
        bench.publish(pump, "level", 3.0, START_US + 5200);
        bench.nowUs = START_US + 6000;
        QCOMPARE(bench.finish(), 2000);
        QCOMPARE(bench.times(), (Times { 100, 1200 }));
        QVERIFY(bench.written.lost.empty());
    }

    void aSenderWhoseStampsGoBackKeepsItsOrder()
    {
        Bench bench;
        auto* pump = bench.add("pump");
        bench.publish(pump, "level", 1.0, START_US + 500);
        bench.publish(pump, "level", 2.0, START_US + 300);
        bench.publish(pump, "level", 3.0, START_US + 800);
        bench.nowUs = START_US + 1000;
        bench.finish();
        QCOMPARE(bench.times(), (Times { 500, 500, 800 }));
    }

    void aForeignClockIsBroughtOverOnceForAllAgentsOfItsProcess()
    {
        Bench bench;
        auto* one = bench.add("one", true, "far");
        auto* two = bench.add("two", true, "far");
        const int64_t hourUs = 3'600'000'000;
        bench.publish(one, "level", 1.0, START_US + hourUs + 1000, { .receivedUs = START_US + 1000 });
        bench.publish(two, "level", 2.0, START_US + hourUs + 1500, { .receivedUs = START_US + 9000 });
        bench.nowUs = START_US + 10'000;
        bench.finish();
        QCOMPARE(bench.times(), (Times { 1000, 1500 }));
    }

    void filtersKeepAgentsAndOutputsOut()
    {
        Bench bench("pump\n-pump/noise");
        QVERIFY(!bench.add("valve"));
        auto* pump = bench.add("pump");
        QVERIFY(pump);
        bench.publish(pump, "noise", 1.0, START_US + 1);
        bench.publish(pump, "level", 1.0, START_US + 2, { .lost = 0 });
        bench.nowUs = START_US + 10;
        bench.finish();
        QCOMPARE(bench.times(), (Times { 2 }));
        QVERIFY(bench.written.lost.empty());
    }

    void anAgentWithoutRecordedOutputsIsNoPartOfTheRecord()
    {
        Bench bench;
        auto* mute = bench.recording->addAgent(
            KnownAgent { "mute-uuid", "mute", "", "peer", R"({"outputs":[]})", false, false }, true);
        QVERIFY(mute);
        bench.finish();
        QVERIFY(bench.written.definitions.empty());
    }

    void lossesOnTheNetworkAreCountedForTheirOutput()
    {
        Bench bench;
        auto* pump = bench.add("pump");
        bench.publish(pump, "level", 1.0, START_US + 1, { .lost = 4 });
        bench.publish(pump, "other", 1.0, START_US + 2);
        bench.publish(pump, "level", 1.0, START_US + 3, { .lost = 2 });
        bench.nowUs = START_US + 10;
        bench.finish();
        QCOMPARE((bench.written.lost[{ "pump", "level" }][LostIn::Network]), uint64_t(6));
        QVERIFY(!bench.written.lost.contains({ "pump", "other" }));
    }

    void whatAFullQueueCannotKeepIsCounted()
    {
        // Given a store that stands still and a queue of a few events
        constexpr size_t QUEUE_EVENTS = 10;
        Bench bench({}, QUEUE_EVENTS * sizeof(EventBatch::Entry));
        bench.written.isBlocked = true;
        auto* pump = bench.add("pump");
        // When far more is published than it holds
        constexpr uint64_t COUNT = 1000;
        for (uint64_t i = 0; i < COUNT; ++i) {
            bench.publish(pump, "level", 1.0, START_US + static_cast<int64_t>(i));
        }
        {
            const std::lock_guard lock(bench.written.mutex);
            bench.written.isBlocked = false;
        }
        bench.written.changed.notify_all();
        bench.nowUs = START_US + 10'000;
        bench.finish();
        // Then every event is either stored or counted
        const uint64_t lost = bench.written.lost[{ "pump", "level" }][LostIn::Queue];
        QVERIFY(lost >= COUNT - 2 * QUEUE_EVENTS - 1);
        QCOMPARE(bench.written.events.size() + lost, size_t(COUNT));
    }

    void aStoreThatTakesNothingMoreEndsTheRecordingOnceAndSaysWhy_data()
    {
        QTest::addColumn<StoreError>("error");
        QTest::newRow("full") << StoreError::Full;
        QTest::newRow("the record was deleted") << StoreError::NotFound;
    }

    void aStoreThatTakesNothingMoreEndsTheRecordingOnceAndSaysWhy()
    {
        QFETCH(StoreError, error);
        Bench bench;
        bench.written.failWith = error;
        auto* pump = bench.add("pump");
        bench.publish(pump, "level", 1.0, START_US + 1);
        bench.publish(pump, "level", 2.0, START_US + 2);
        bench.finish();
        QCOMPARE(bench.failure, "no space left");
        QCOMPARE(bench.written.remarks.size(), size_t(1));
    }

    void whatIsPublishedAfterTheEndIsNoPartOfTheRecord()
    {
        Bench bench;
        auto* pump = bench.add("pump");
        bench.nowUs = START_US + 1000;
        bench.recording->end();
        bench.recording->tookEvents();
        bench.publish(pump, "level", 2.0, START_US + 1001);
        QVERIFY(!bench.recording->tookEvents());
        bench.publish(pump, "level", 1.0, START_US + 999); // on its way when the end came
        QVERIFY(bench.recording->tookEvents());
        bench.recording->finish();
        QCOMPARE(bench.times(), (Times { 999 }));
    }

    // ---- filters that are kept

    void acceptedFiltersOutliveTheProgramAndRefusedOnesChangeNothing()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath("filters.txt");
        {
            StoredFilters filters(path);
            QVERIFY(!filters.wasEverAccepted());
            QCOMPARE(filters.accept("pump*\n"), QString());
            QVERIFY(!filters.accept("a/b/c").isEmpty());
            QCOMPARE(filters.text(), "pump*\n");
        }
        StoredFilters filters(path);
        QVERIFY(filters.wasEverAccepted());
        QCOMPARE(filters.text(), "pump*\n");
        QCOMPARE(filters.accept(""), QString());
        const StoredFilters empty(path);
        QVERIFY(empty.wasEverAccepted());
        QCOMPARE(empty.text(), QString());
    }
};

QTEST_GUILESS_MAIN(RecordingTest)
#include "tst_recording.moc"
