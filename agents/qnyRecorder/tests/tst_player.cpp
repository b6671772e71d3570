// SPDX-License-Identifier: Apache-2.0
#include "replay/player.h"

#include <QTest>

#include <algorithm>
#include <atomic>

using namespace recorder;

namespace {

/// A record in memory, with a store that fails when told.
class MemoryRecord final : public RecordReader
{
public:
    struct Switches
    {
        std::atomic<int64_t> failAtUs { INT64_MAX };
        std::atomic<int> eventsRead { 0 };
    };

    MemoryRecord(std::vector<Event> events, std::vector<OutputValue> initials, std::shared_ptr<Switches> switches)
        : _events(std::move(events))
        , _initials(std::move(initials))
        , _switches(std::move(switches))
    {
    }
    const RecordFacts& facts() const override { return _facts; }
    const std::vector<AgentDefinition>& definitions() const override { return _definitions; }
    const std::vector<OutputValue>& initialValues() const override { return _initials; }
    std::unique_ptr<EventCursor> events(int64_t startUs, int64_t endUs, StoreResult&) override
    {
        return std::make_unique<Cursor>(*this, startUs, endUs);
    }
    std::unique_ptr<EventCursor> eventsAfter(const EventPosition&, StoreResult&) override { return nullptr; }
    StoreResult stateBefore(int64_t timeUs, std::vector<OutputValue>& state) override
    {
        std::map<std::pair<std::string, std::string>, Value> values;
        for (const OutputValue& value : _initials) {
            values[{ value.agent, value.output }] = value.value;
        }
        for (const Event& event : _events) {
            if (event.timeUs < timeUs) {
                values[{ event.agent, event.output }] = event.value;
            }
        }
        for (const auto& [name, value] : values) {
            state.push_back({ name.first, name.second, value });
        }
        return StoreResult::done();
    }
    std::vector<Damage> takeDamages() override { return {}; }

private:
    class Cursor final : public EventCursor
    {
    public:
        Cursor(const MemoryRecord& record, int64_t startUs, int64_t endUs)
            : _record(record)
            , _startUs(startUs)
            , _endUs(endUs)
        {
        }
        Step next(EventView& event) override
        {
            while (_next < _record._events.size() && _record._events[_next].timeUs < _startUs) {
                ++_next;
            }
            if (_next == _record._events.size() || _record._events[_next].timeUs > _endUs) {
                return Step::End;
            }
            if (_record._events[_next].timeUs >= _record._switches->failAtUs) {
                _result = StoreResult::failed(StoreError::Unreachable, "the disk is gone");
                return Step::Failed;
            }
            ++_record._switches->eventsRead;
            event = _record._events[_next++].view();
            return Step::Event;
        }
        EventPosition position() const override { return {}; }
        const StoreResult& result() const override { return _result; }
        std::vector<Damage> takeDamages() override { return {}; }

    private:
        const MemoryRecord& _record;
        const int64_t _startUs;
        const int64_t _endUs;
        size_t _next = 0;
        StoreResult _result;
    };

    const std::vector<Event> _events;
    const std::vector<OutputValue> _initials;
    const std::vector<AgentDefinition> _definitions;
    const RecordFacts _facts;
    const std::shared_ptr<Switches> _switches;
};

/// Writes down what is published, and when.
class Journal final : public ReplayTarget
{
public:
    struct Line
    {
        int64_t atNs;
        std::string output; // "agent/output"
        double value;
        int64_t timeUs;
    };

    explicit Journal(std::shared_ptr<OutputNames> names)
        : _names(std::move(names))
    {
    }
    bool publish(uint32_t output, const ValueView& value, int64_t timeUs) override
    {
        const std::lock_guard lock(_mutex);
        const OutputNames::Name& name = _names->name(output);
        if (hidden == name.agent) {
            return false;
        }
        _lines.push_back({ Player::nowNs(), name.agent + "/" + name.output, value.real, timeUs });
        return true;
    }
    void progress(double seconds) override
    {
        const std::lock_guard lock(_mutex);
        _progress.emplace_back(Player::nowNs(), seconds);
    }
    std::vector<Line> lines() const
    {
        const std::lock_guard lock(_mutex);
        return _lines;
    }
    std::vector<double> values() const
    {
        const std::lock_guard lock(_mutex);
        std::vector<double> values;
        for (const Line& line : _lines) {
            values.push_back(line.value);
        }
        return values;
    }
    std::vector<std::pair<int64_t, double>> progressValues() const
    {
        const std::lock_guard lock(_mutex);
        return _progress;
    }
    void clear()
    {
        const std::lock_guard lock(_mutex);
        _lines.clear();
        _progress.clear();
    }

    std::string hidden; // agent that is not replayed

private:
    const std::shared_ptr<OutputNames> _names;
    mutable std::mutex _mutex;
    std::vector<Line> _lines;
    std::vector<std::pair<int64_t, double>> _progress;
};

struct Bench
{
    std::shared_ptr<MemoryRecord::Switches> switches = std::make_shared<MemoryRecord::Switches>();
    std::shared_ptr<OutputNames> names = std::make_shared<OutputNames>();
    Journal journal { names };
    std::atomic<int> ended { 0 };
    std::atomic<int> failed { 0 };
    std::unique_ptr<Player> player;

    Bench(std::vector<Event> events, int64_t startUs, int64_t endUs, std::vector<OutputValue> initials = {})
    {
        Player::Events listeners;
        listeners.onEnded = [this] { ++ended; };
        listeners.onFailed = [this](const std::string&) { ++failed; };
        player
            = std::make_unique<Player>(std::make_unique<MemoryRecord>(std::move(events), std::move(initials), switches),
                names, startUs, endUs, journal, std::move(listeners));
    }
};

Event at(int64_t timeUs, double value, const char* agent = "pump", const char* output = "level")
{
    return { timeUs, agent, output, ValueView::fromDouble(value) };
}

using Values = std::vector<double>;

double msBetween(int64_t fromNs, int64_t toNs)
{
    return static_cast<double>(toNs - fromNs) / 1e6;
}

} // namespace

class PlayerTest : public QObject
{
    Q_OBJECT

private slots:
    // ---- reckoning

    void positionsBeyondAllNumbersAreCutThere()
    {
        PlayClock clock;
        clock.setPosition(0, INT64_MAX);
        clock.start(0);
        QCOMPARE(clock.position(11'000), INT64_MAX);
        clock.setPosition(0, 0);
        clock.setSpeed(0, 1e300);
        QCOMPARE(clock.position(11'000), INT64_MAX);
    }

    void deadlinesComeFromOneBaseAndFollowTheSpeed()
    {
        PlayClock clock;
        clock.setPosition(0, 1000);
        clock.start(5'000'000);
        QCOMPARE(clock.deadline(1000), 5'000'000);
        QCOMPARE(clock.deadline(3000), 7'000'000);
        clock.setSpeed(6'000'000, 4.0); // at position 2000
        QCOMPARE(clock.position(6'000'000), 2000);
        QCOMPARE(clock.deadline(4000), 6'500'000);
        QCOMPARE(clock.deadline(1000), 5'750'000); // was due before
        clock.stop(6'500'000);
        QCOMPARE(clock.position(9'000'000), 4000);
        clock.start(10'000'000);
        QCOMPARE(clock.deadline(8000), 11'000'000);
    }

    void farDeadlinesDoNotOverflow()
    {
        PlayClock clock;
        clock.setSpeed(0, 1e-9);
        clock.start(1'000'000'000);
        QCOMPARE(clock.deadline(INT64_MAX / 2), INT64_MAX);
    }

    void quantilesAreExactToAFewPercent()
    {
        LatenessStatistics statistics;
        QCOMPARE(statistics.quantileNs(0.5), 0);
        for (int i = 1; i <= 10'000; ++i) {
            statistics.add(i * 1000);
        }
        statistics.add(-5); // early counts as punctual
        QCOMPARE(statistics.count(), uint64_t(10'001));
        QCOMPARE(statistics.maximumNs(), 10'000'000);
        QVERIFY(std::abs(static_cast<double>(statistics.quantileNs(0.5)) - 5e6) < 0.04 * 5e6);
        QVERIFY(std::abs(static_cast<double>(statistics.quantileNs(0.99)) - 9.9e6) < 0.04 * 9.9e6);
        QCOMPARE(statistics.quantileNs(1.0), 10'000'000);
        QVERIFY(statistics.summary().startsWith("10001 publications"));
    }

    // ---- playing

    void eventsGoOutInOrderAtTheirTimesAndTheEndIsTold()
    {
        Bench bench({ at(0, 1), at(50'000, 2), at(50'000, 3), at(150'000, 4) }, 0, 200'000);
        bench.player->play();
        QTRY_COMPARE(bench.ended, 1);
        const auto lines = bench.journal.lines();
        QCOMPARE(bench.journal.values(), (Values { 1, 2, 3, 4 }));
        QVERIFY(msBetween(lines[0].atNs, lines[1].atNs) >= 49.0);
        QVERIFY(msBetween(lines[0].atNs, lines[3].atNs) >= 149.0);
        QCOMPARE(bench.journal.progressValues().back().second, 0.2);
        QVERIFY(!bench.player->isPlaying());
        QCOMPARE(bench.player->positionUs(), 200'000);
    }

    void nothingGoesOutBeforePlayNorBeforeTheMomentAsked()
    {
        Bench bench({ at(0, 1) }, 0, 10'000);
        QTRY_COMPARE(bench.switches->eventsRead, 1);
        QVERIFY(bench.journal.values().empty());
        const int64_t notBefore = Player::nowNs() + 80'000'000;
        bench.player->play(notBefore);
        QTRY_COMPARE(bench.ended, 1);
        QVERIFY(bench.journal.lines().front().atNs >= notBefore);
    }

    void aHigherSpeedShortensTheReplay()
    {
        Bench bench({ at(0, 1), at(400'000, 2) }, 0, 400'000);
        bench.player->setSpeed(4.0);
        bench.player->play();
        QTRY_COMPARE(bench.ended, 1);
        const auto lines = bench.journal.lines();
        const double ms = msBetween(lines[0].atNs, lines[1].atNs);
        QVERIFY2(ms >= 99.0 && ms < 300.0, qPrintable(QString::number(ms)));
    }

    void aSpeedGivenWhilePlayingTakesEffectAtOnce()
    {
        Bench bench({ at(0, 1), at(60'000'000, 2) }, 0, 60'000'000);
        bench.player->play();
        QTRY_COMPARE(bench.journal.values().size(), size_t(1));
        bench.player->setSpeed(1e6);
        const int64_t asked = Player::nowNs();
        QTRY_COMPARE(bench.ended, 1);
        QVERIFY(msBetween(asked, bench.journal.lines().back().atNs) < 50.0);
    }

    void onlyTheWindowIsPlayedBothEndsIncluded()
    {
        Bench bench(
            { at(99'999, 1), at(100'000, 2), at(110'000, 3), at(120'000, 4), at(120'001, 5) }, 100'000, 120'000);
        bench.player->play();
        QTRY_COMPARE(bench.ended, 1);
        // The first is the state before the window.
        QCOMPARE(bench.journal.values(), (Values { 1, 2, 3, 4 }));
        QCOMPARE(bench.journal.progressValues().back().second, 0.02);
    }

    void progressComesOftenWhilePlayingAndNotOtherwise()
    {
        Bench bench({ at(0, 1) }, 0, 650'000);
        bench.player->play();
        QTRY_COMPARE(bench.ended, 1);
        const auto progress = bench.journal.progressValues();
        QVERIFY(progress.size() >= 6);
        for (size_t i = 1; i < progress.size(); ++i) {
            QVERIFY(progress[i].second >= progress[i - 1].second);
            QVERIFY(msBetween(progress[i - 1].first, progress[i].first) < 200.0);
        }
        const size_t count = progress.size();
        QTest::qWait(250);
        QCOMPARE(bench.journal.progressValues().size(), count);
    }

    void pauseStandsStillAndPlayGoesOnWithoutRepeatingTheState()
    {
        Bench bench({ at(0, 1), at(100'000, 2), at(5'000'000, 3) }, 0, 5'000'000,
            { { "pump", "level", ValueView::fromDouble(0.5) } });
        bench.player->play();
        QTRY_COMPARE(bench.journal.values(), (Values { 0.5, 1, 2 }));
        QVERIFY(bench.player->pause());
        const int64_t position = bench.player->positionUs();
        QVERIFY(position >= 100'000);
        QVERIFY(!bench.player->pause());
        const size_t progressCount = bench.journal.progressValues().size();
        QTest::qWait(150);
        QCOMPARE(bench.player->positionUs(), position);
        QCOMPARE(bench.journal.progressValues().size(), progressCount);
        bench.player->setSpeed(1e4);
        bench.player->play();
        QTRY_COMPARE(bench.ended, 1);
        QCOMPARE(bench.journal.values(), (Values { 0.5, 1, 2, 3 }));
    }

    void afterAMoveTheStateAtThePositionComesFirst()
    {
        Bench bench({ at(0, 1), at(10'000, 7, "valve", "open"), at(1'000'000, 2), at(1'000'000, 3), at(1'050'000, 4) },
            0, 1'050'000);
        QCOMPARE(bench.player->moveTo(1'000'000), 1'000'000);
        QVERIFY(bench.journal.values().empty());
        QVERIFY(bench.journal.progressValues().empty());
        bench.player->play();
        QTRY_COMPARE(bench.ended, 1);
        const auto lines = bench.journal.lines();
        QCOMPARE(bench.journal.values(), (Values { 1, 7, 2, 3, 4 }));
        QCOMPARE(lines[0].output, "pump/level");
        QCOMPARE(lines[1].output, "valve/open");
    }

    void movesAreCutToTheWindow()
    {
        Bench bench({ at(0, 1) }, 1000, 5000);
        QCOMPARE(bench.player->moveTo(-1), 0);
        QCOMPARE(bench.player->moveTo(4001), 4000);
        QCOMPARE(bench.player->moveTo(2500), 2500);
    }

    void afterAMoveNothingOfBeforeGoesOut()
    {
        std::vector<Event> events;
        for (int i = 0; i < 200'000; ++i) {
            events.push_back(at(i * 10, i));
        }
        Bench bench(events, 0, 2'000'000);
        bench.player->play();
        QTRY_VERIFY(!bench.journal.values().empty());
        bench.player->moveTo(1'999'980);
        bench.journal.clear();
        QTest::qWait(150);
        QVERIFY(bench.journal.values().empty());
        QVERIFY(bench.journal.progressValues().empty());
        QVERIFY(!bench.player->isPlaying());
        bench.player->play();
        QTRY_COMPARE(bench.ended, 1);
        QCOMPARE(bench.journal.values(), (Values { 199'997, 199'998, 199'999 }));
    }

    void playAtTheEndEndsAtOnceAgain()
    {
        Bench bench({ at(0, 1) }, 0, 1000);
        bench.player->play();
        QTRY_COMPARE(bench.ended, 1);
        bench.player->play();
        QTRY_COMPARE(bench.ended, 2);
        QCOMPARE(bench.journal.values(), (Values { 1 }));
    }

    void anEmptyRecordEndsAtOnce()
    {
        Bench bench({}, 0, 0);
        bench.player->play();
        QTRY_COMPARE(bench.ended, 1);
        QVERIFY(bench.journal.values().empty());
    }

    void aChangedTargetGetsTheStateAtThePositionAndPlayingGoesOn()
    {
        Bench bench({ at(0, 1), at(0, 9, "valve", "open"), at(300'000, 2) }, 0, 300'000);
        bench.journal.hidden = "valve";
        bench.player->play();
        QTRY_COMPARE(bench.journal.values(), (Values { 1 }));
        bench.player->changeTarget([&] { bench.journal.hidden = "pump"; });
        QTRY_COMPARE(bench.ended, 1);
        QCOMPARE(bench.journal.values(), (Values { 1, 9 }));
    }

    void aFailingStorePausesAndPlayTriesAgainAtTheSamePlace()
    {
        Bench bench({ at(0, 1), at(10'000, 2), at(20'000, 3) }, 0, 20'000);
        bench.player->moveTo(0);
        bench.switches->failAtUs = 10'000;
        bench.player->moveTo(0); // reads anew
        bench.player->play();
        QTRY_COMPARE(bench.failed, 1);
        QVERIFY(!bench.player->isPlaying());
        QCOMPARE(bench.journal.values(), (Values { 1 }));
        bench.switches->failAtUs = INT64_MAX;
        bench.player->play();
        QTRY_COMPARE(bench.ended, 1);
        QCOMPARE(bench.journal.values(), (Values { 1, 2, 3 }));
    }

    void readingAheadIsBoundedWhateverTheRecordsLength()
    {
        std::vector<Event> events;
        constexpr int COUNT = 300'000;
        for (int i = 0; i < COUNT; ++i) {
            events.push_back(at(int64_t(i) * 1'000'000, i));
        }
        Bench bench(events, 0, int64_t(COUNT) * 1'000'000);
        QTRY_VERIFY(bench.switches->eventsRead > 1000);
        QTest::qWait(200);
        QVERIFY(bench.switches->eventsRead < COUNT / 4);
    }

    void commandsGetThroughToABusyPlayer()
    {
        std::vector<Event> events;
        for (int i = 0; i < 400'000; ++i) {
            events.push_back(at(0, i)); // all due at once
        }
        Bench bench(events, 0, 1'000'000);
        bench.player->play();
        QTRY_VERIFY(!bench.journal.values().empty());
        const int64_t before = Player::nowNs();
        bench.player->pause();
        QVERIFY(msBetween(before, Player::nowNs()) < 50.0);
    }
};

QTEST_GUILESS_MAIN(PlayerTest)
#include "tst_player.moc"
