// SPDX-License-Identifier: Apache-2.0
#include "childrecorder.h"
#include "storesuite.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QThread>

namespace recorder::testing {

void StoreSuite::killedRecordersEventsAreThere_data()
{
    QTest::addColumn<int>("burst");
    QTest::newRow("slow recorders") << 1;
    QTest::newRow("fast recorders") << 500;
}

// Several at once, killed at different moments of their chunks and batches.
void StoreSuite::killedRecordersEventsAreThere()
{
    QFETCH(int, burst);
    struct Victim
    {
        int afterMs;
        std::string uuid = newRecordUuid();
        std::unique_ptr<Child> child = nullptr;
        std::int64_t atLeast = 0;
    };
    Victim victims[] = { { 30 }, { 1'130 }, { 1'390 }, { 1'510 }, { 1'777 }, { 2'220 } };
    for (Victim& victim : victims) {
        const QString uuid = QString::fromStdString(victim.uuid);
        victim.child = std::make_unique<Child>(
            QStringList { "--child", m_under.place(), uuid, QString::number(burst), "100000000" });
    }
    for (Victim& victim : victims) {
        QVERIFY(victim.child->waitForLine());
    }
    QElapsedTimer timer;
    timer.start();
    for (Victim& victim : victims) {
        QThread::msleep(static_cast<unsigned long>(std::max<qint64>(0, victim.afterMs - timer.elapsed())));
        victim.child->kill();
        // A second before it was last seen to run: a child that a busy machine did not let run stores nothing either.
        const QByteArray lines = victim.child->output();
        victim.atLeast = appendedBy(lines, lastSeen(lines) - 1'000'000);
    }

    const auto store = openStore();
    for (const Victim& victim : victims) {
        const auto reader = read(*store, victim.uuid);
        QVERIFY(reader);
        const std::vector<Event> events = eventsOf(*reader);
        QVERIFY2(static_cast<std::int64_t>(events.size()) >= victim.atLeast,
            (std::to_string(events.size()) + " of at least " + std::to_string(victim.atLeast)).c_str());
        for (std::size_t i = 0; i < events.size(); ++i) {
            QVERIFY(events[i] == numbered(static_cast<std::int64_t>(i), events[i].timeUs));
        }
        QCOMPARE(reader->facts().completeness.stored(), events.size());
        QVERIFY(!reader->facts().completeness.isComplete()); // it says that it was not closed
    }
}

void StoreSuite::aKilledRecordersRecordIsClosedWithItsTrueLength()
{
    const std::string uuid = newRecordUuid();
    {
        Child child({ "--child", m_under.place(), QString::fromStdString(uuid), "200", "100000000" });
        QVERIFY(child.waitForLine());
        // Until something is stored: seen through another store object, which must not close it meanwhile.
        const auto store = openStore();
        std::vector<RecordSummary> list;
        const QDeadlineTimer deadline(10'000);
        while (list.empty() || list[0].events < 2'000) {
            QVERIFY(!deadline.hasExpired());
            RR_DONE(store->records({}, list));
            QThread::msleep(10);
        }
        QVERIFY(list[0].isRecording && list[0].isOpen && !list[0].isOwnedHere);
        QVERIFY(store->remove(uuid).error == StoreError::InUse);
    }
    const auto store = openStore();
    std::vector<RecordSummary> list;
    RR_DONE(store->records({}, list));
    QVERIFY(!list.at(0).isRecording && !list[0].isOpen);
    const auto reader = read(*store, uuid);
    const std::vector<Event> events = eventsOf(*reader);
    QVERIFY(list[0].durationUs >= events.back().timeUs);
    QVERIFY(list[0].durationUs < events.back().timeUs + 2'000'000);
    QCOMPARE(list[0].events, events.size());
    QVERIFY(reader->initialValues().size() == 1);
    const std::lock_guard guard(m_messagesMutex);
    QVERIFY(!m_messages.empty()); // it is said, once
    QVERIFY(m_messages.back().find(uuid) != std::string::npos);
}

void StoreSuite::anotherProcessIsNotDisturbed()
{
    // Ours is recorded while the other recorder is killed and repaired.
    const auto store = openStore();
    std::unique_ptr<RecordWriter> writer;
    const RecordFacts facts = newFacts("ours");
    RR_DONE(store->create(facts, writer));
    const std::string theirs = newRecordUuid();
    {
        Child child({ "--child", m_under.place(), QString::fromStdString(theirs), "50", "100000000" });
        QVERIFY(child.waitForLine());
        for (int i = 0; i < 500; ++i) {
            RR_DONE(writer->append(numbered(i, i).view()));
        }
        RR_DONE(writer->flush());
    }
    const auto repairer = openStore();
    std::vector<RecordSummary> list;
    RR_DONE(repairer->records({}, list));
    QCOMPARE(list.size(), std::size_t(2));
    for (const RecordSummary& summary : list) {
        QCOMPARE(summary.isRecording, summary.uuid == facts.uuid);
    }
    for (int i = 500; i < 1'000; ++i) {
        RR_DONE(writer->append(numbered(i, i).view()));
    }
    RR_DONE(writer->close(0));
    QCOMPARE(eventsOf(*read(*repairer, facts.uuid)).size(), std::size_t(1'000));
}

void StoreSuite::twoProcessesRecordAtOnce()
{
    const QStringList uuids = { QString::fromStdString(newRecordUuid()), QString::fromStdString(newRecordUuid()) };
    Child first({ "--child", m_under.place(), uuids[0], "1000", "60000" });
    Child second({ "--child", m_under.place(), uuids[1], "1000", "60000" });
    QVERIFY(first.waitForLine());
    QVERIFY(second.waitForLine());
    const auto store = openStore();
    const std::vector<Event> mine = randomEvents(15, 20'000);
    const std::string uuid = record(*store, mine);
    // Each ends by itself after its last event.
    const QDeadlineTimer deadline(60'000);
    std::vector<RecordSummary> list;
    do {
        QVERIFY(!deadline.hasExpired());
        QThread::msleep(20);
        RR_DONE(store->records({}, list));
    } while (std::any_of(list.begin(), list.end(), [](const RecordSummary& summary) { return summary.isOpen; }));
    QVERIFY(first.finish());
    QVERIFY(second.finish());
    RR_SAME_EVENTS(eventsOf(*read(*store, uuid)), mine);
    for (const QString& theirs : uuids) {
        const auto reader = read(*store, theirs.toStdString());
        const std::vector<Event> events = eventsOf(*reader);
        QCOMPARE(events.size(), std::size_t(60'000));
        for (std::size_t i = 0; i < events.size(); ++i) {
            QVERIFY(events[i] == numbered(static_cast<std::int64_t>(i), events[i].timeUs));
        }
        QVERIFY(reader->facts().completeness.isComplete());
    }
}

} // namespace recorder::testing
