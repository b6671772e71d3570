// SPDX-License-Identifier: Apache-2.0
#include "storesuite.h"

#include <QDeadlineTimer>
#include <QThread>

#include <algorithm>
#include <map>

namespace recorder::testing {

void StoreSuite::everyValueComesBack()
{
    const auto store = openStore();
    std::vector<Event> events;
    for (const Value& value : awkwardValues()) {
        events.emplace_back(static_cast<std::int64_t>(events.size() / 3), "agent ü", "output", value);
    }
    const std::string uuid = record(*store, events);
    RR_SAME_EVENTS(eventsOf(*read(*store, uuid)), events);
}

void StoreSuite::eventsComeBackInOrder_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("stepUs");
    QTest::newRow("one") << 1 << 500;
    QTest::newRow("a few") << 100 << 500;
    QTest::newRow("many in one microsecond") << 20'000 << 0;
    QTest::newRow("many") << 50'000 << 200;
    QTest::newRow("far apart") << 2'000 << 3'000'000;
}

void StoreSuite::eventsComeBackInOrder()
{
    QFETCH(int, count);
    QFETCH(int, stepUs);
    const std::vector<Event> events = randomEvents(21, static_cast<std::size_t>(count), stepUs);
    {
        const auto store = openStore();
        record(*store, events);
    }
    const auto store = openStore();
    std::vector<RecordSummary> list;
    RR_DONE(store->records({}, list));
    QCOMPARE(list.at(0).events, static_cast<std::uint64_t>(count));
    QCOMPARE(list[0].durationUs, events.back().timeUs);
    RR_SAME_EVENTS(eventsOf(*read(*store, list[0].uuid)), events);
}

// Agents whose messages come late: by little, and a few by very much.
void StoreSuite::eventsOutOfOrderAreReadInOrder()
{
    std::mt19937_64 random(4);
    for (const int strays : { 0, 3 }) {
        std::vector<Event> events = randomEvents(31, 20'000, 1000);
        for (std::size_t i = 0; i < events.size(); ++i) {
            if (events[i].agent.starts_with("agent 1")) {
                events[i].timeUs = std::max<std::int64_t>(0, events[i].timeUs - 700'000);
            }
        }
        for (int i = 0; i < strays; ++i) {
            events[10'000 + random() % 9'000].timeUs = static_cast<std::int64_t>(random() % 1'000'000);
        }
        const auto store = openStore();
        const auto reader = read(*store, record(*store, events));
        const std::vector<Event> ordered = inOrder(events);
        RR_SAME_EVENTS(eventsOf(*reader), ordered);
        const std::int64_t end = ordered.back().timeUs;
        for (int round = 0; round < 20; ++round) {
            const auto startUs = static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(end));
            const std::int64_t endUs = startUs + static_cast<std::int64_t>(random() % 2'000'000);
            RR_SAME_EVENTS(eventsOf(*reader, startUs, endUs), window(ordered, startUs, endUs));
        }
    }
}

void StoreSuite::windowsHoldBothEnds()
{
    const auto store = openStore();
    const std::vector<Event> events = randomEvents(41, 20'000);
    const auto reader = read(*store, record(*store, events));
    std::mt19937_64 random(42);
    for (int round = 0; round < 60; ++round) {
        // Ends that are times of events, between events, and beyond the record.
        std::int64_t startUs = events[random() % events.size()].timeUs + static_cast<std::int64_t>(random() % 3) - 1;
        std::int64_t endUs = events[random() % events.size()].timeUs + static_cast<std::int64_t>(random() % 3) - 1;
        if (round % 7 == 0) {
            endUs = startUs;
        } else if (startUs > endUs) {
            std::swap(startUs, endUs);
        }
        RR_SAME_EVENTS(eventsOf(*reader, startUs, endUs), window(events, startUs, endUs));
    }
    QVERIFY(eventsOf(*reader, events.back().timeUs + 1).empty());
    QVERIFY(eventsOf(*reader, 100, 50).empty());
}

void StoreSuite::readingGoesOnAfterAnyPosition()
{
    const auto store = openStore();
    const std::vector<Event> events = randomEvents(51, 6'000, 20); // many at equal times
    const auto reader = read(*store, record(*store, events));
    StoreResult result;
    const auto whole = reader->events(0, std::numeric_limits<std::int64_t>::max(), result);
    std::vector<EventPosition> positions;
    EventView event;
    while (whole->next(event) == EventCursor::Step::Event) {
        positions.push_back(whole->position());
    }
    QCOMPARE(positions.size(), events.size());
    QVERIFY(std::is_sorted(positions.begin(), positions.end()));
    for (std::size_t at = 0; at < positions.size(); at += 97) {
        const auto rest = reader->eventsAfter(positions[at], result);
        RR_DONE(result);
        const std::vector<Event> wanted(events.begin() + static_cast<std::ptrdiff_t>(at) + 1, events.end());
        RR_SAME_EVENTS(allOf(*rest), wanted);
    }
}

void StoreSuite::theStateIsThatOfEveryMoment()
{
    // Long enough for several stored states, with late events around them.
    std::vector<Event> events = randomEvents(61, 30'000, 2'000);
    for (std::size_t i = 0; i < events.size(); i += 11) {
        events[i].timeUs = std::max<std::int64_t>(0, events[i].timeUs - 300'000);
    }
    const auto store = openStore();
    const auto reader = read(*store, record(*store, events));
    const std::vector<Event> ordered = inOrder(events);
    std::mt19937_64 random(62);
    for (int round = 0; round < 60; ++round) {
        const std::int64_t timeUs
            = ordered[random() % ordered.size()].timeUs + static_cast<std::int64_t>(random() % 3) - 1;
        std::vector<OutputValue> state;
        RR_DONE(reader->stateBefore(timeUs, state));
        QVERIFY2(state == stateOf(ordered, timeUs), std::to_string(timeUs).c_str());
    }
    std::vector<OutputValue> state;
    RR_DONE(reader->stateBefore(ordered.back().timeUs + 1, state));
    QVERIFY(state == stateOf(ordered, ordered.back().timeUs + 1));
    QVERIFY(reader->takeDamages().empty());
}

void StoreSuite::initialValuesAreTheStateBeforeTheFirstEvent()
{
    const auto store = openStore();
    const RecordFacts facts = newFacts("x");
    std::unique_ptr<RecordWriter> writer;
    RR_DONE(store->create(facts, writer));
    RR_DONE(writer->setInitial("b", "p", ValueView::fromString("first")));
    RR_DONE(writer->setInitial("a", "o", ValueView::fromInteger(5)));
    RR_DONE(writer->append(Event(1'000, "a", "o", ValueView::fromInteger(6)).view()));
    RR_DONE(writer->close(0));
    const auto reader = read(*store, facts.uuid);
    QVERIFY((reader->initialValues()
        == std::vector<OutputValue> {
            { "b", "p", ValueView::fromString("first") }, { "a", "o", ValueView::fromInteger(5) } }));
    const std::vector<OutputValue> before
        = { { "a", "o", ValueView::fromInteger(5) }, { "b", "p", ValueView::fromString("first") } };
    const std::vector<OutputValue> after
        = { { "a", "o", ValueView::fromInteger(6) }, { "b", "p", ValueView::fromString("first") } };
    std::vector<OutputValue> state;
    for (const std::int64_t timeUs : { 0, 1, 1'000 }) {
        RR_DONE(reader->stateBefore(timeUs, state));
        QVERIFY2(state == before, std::to_string(timeUs).c_str());
    }
    RR_DONE(reader->stateBefore(1'001, state));
    QVERIFY(state == after);
}

void StoreSuite::theLastOfTwoInitialValuesHolds()
{
    const auto store = openStore();
    const RecordFacts facts = newFacts("x");
    std::unique_ptr<RecordWriter> writer;
    RR_DONE(store->create(facts, writer));
    RR_DONE(writer->setInitial("a", "o", ValueView::fromInteger(5)));
    RR_DONE(writer->flush());
    RR_DONE(writer->setInitial("a", "p", ValueView::impulse()));
    RR_DONE(writer->setInitial("a", "o", ValueView::fromInteger(6)));
    RR_DONE(writer->close(0));
    QVERIFY((read(*store, facts.uuid)->initialValues()
        == std::vector<OutputValue> { { "a", "o", ValueView::fromInteger(6) }, { "a", "p", ValueView::impulse() } }));
}

void StoreSuite::eventsAreStoredWithinTheAge()
{
    const auto store = openStore();
    const auto other = openStore();
    const RecordFacts facts = newFacts("x");
    std::unique_ptr<RecordWriter> writer;
    RR_DONE(store->create(facts, writer));
    RR_DONE(writer->append(Event(1'000, "a", "o", ValueView::impulse()).view()));
    QDeadlineTimer deadline(3'000); // the age is a quarter of a second; the rest is for a machine that is busy
    std::vector<RecordSummary> list;
    std::int64_t elapsedUs = 2'000;
    do {
        QVERIFY2(!deadline.hasExpired(), "an event was not stored by its age");
        RR_DONE(writer->tick(elapsedUs += 20'000));
        QThread::msleep(20);
        RR_DONE(other->records({}, list));
    } while (list.at(0).events == 0);
    RR_DONE(writer->close(elapsedUs));
}

void StoreSuite::aRunningRecordCanBeRead()
{
    const auto store = openStore();
    const std::vector<Event> events = randomEvents(71, 10'000);
    const RecordFacts facts = newFacts("x");
    std::unique_ptr<RecordWriter> writer;
    RR_DONE(store->create(facts, writer));
    for (std::size_t i = 0; i < 5'000; ++i) {
        RR_DONE(writer->append(events[i].view()));
    }
    RR_DONE(writer->flush());
    const auto reader = read(*store, facts.uuid);
    RR_SAME_EVENTS(eventsOf(*reader), std::vector<Event>(events.begin(), events.begin() + 5'000));
    for (std::size_t i = 5'000; i < events.size(); ++i) {
        RR_DONE(writer->append(events[i].view()));
    }
    RR_DONE(writer->close(0));
    RR_SAME_EVENTS(eventsOf(*reader), events);
}

void StoreSuite::completenessCountsWhatWasStoredAndLost()
{
    const auto store = openStore();
    const RecordFacts facts = newFacts("x");
    std::unique_ptr<RecordWriter> writer;
    RR_DONE(store->create(facts, writer));
    for (const std::int64_t timeUs : { 1'000, 3'000, 10'000, 11'000 }) {
        RR_DONE(writer->append(Event(timeUs, "a", "o", ValueView::impulse()).view()));
    }
    RR_DONE(writer->append(Event(4'000, "a", "n", ValueView::impulse()).view()));
    writer->countLost("a", "o", LostIn::Network, 3);
    writer->countLost("a", "o", LostIn::Queue, 2);
    writer->countLost("b", "o", LostIn::Store, 1);
    writer->remark("Somebody pulled the plug.");
    RR_DONE(writer->close(0));
    Completeness wanted;
    wanted.outputs = { { "a", "n", 1, 0, 0, 0, 0 }, { "a", "o", 4, 3, 2, 0, 7'000 }, { "b", "o", 0, 0, 0, 1, 0 } };
    wanted.remarks = { "Somebody pulled the plug." };
    QVERIFY(writer->completeness() == wanted);
    const Completeness stored = read(*store, facts.uuid)->facts().completeness;
    QVERIFY2(stored == wanted, stored.toJson().c_str());
    QVERIFY(!stored.isComplete());
}

void StoreSuite::emptyRecordsAreRecords()
{
    const auto store = openStore();
    const auto reader = read(*store, record(*store, {}));
    QVERIFY(eventsOf(*reader).empty());
    QVERIFY(reader->agents().empty());
    std::vector<OutputValue> state;
    RR_DONE(reader->stateBefore(1'000, state));
    QVERIFY(state.empty());
    QCOMPARE(reader->facts().durationUs, 0);
    QVERIFY(reader->facts().completeness.isComplete());
}

void StoreSuite::manyOutputsAreKeptApart()
{
    const auto store = openStore();
    std::vector<Event> events;
    for (int i = 0; i < 20'000; ++i) {
        events.emplace_back(
            i, "agent " + std::to_string(i % 300), "o" + std::to_string(i % 5'000), ValueView::fromInteger(i));
    }
    const auto reader = read(*store, record(*store, events));
    RR_SAME_EVENTS(eventsOf(*reader), events);
    QCOMPARE(reader->agents().size(), std::size_t(300));
    std::vector<OutputValue> state;
    RR_DONE(reader->stateBefore(20'000, state));
    QVERIFY(state == stateOf(events, 20'000));
}

} // namespace recorder::testing
