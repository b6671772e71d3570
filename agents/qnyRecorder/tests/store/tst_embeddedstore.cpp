// SPDX-License-Identifier: Apache-2.0
#include "../smalldisk.h"
#include "embeddedundertest.h"
#include "fulldisk.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

using namespace recorder;
using namespace recorder::testing;

// Runs the suite over the embedded store, and what only this store has.
class TestEmbeddedStore : public StoreSuite
{
    Q_OBJECT

public:
    using StoreSuite::StoreSuite;

private slots:
    void aDamagedChunkCostsOnlyItself();
    void aMissingChunkCostsOnlyItself();
    void aDamagedStateIsPassedOver();
    void aFileOfANewerVersionIsRefused();
    void anotherProgramsFileIsRefused();
    void aFileThatIsNoDatabaseIsRefused();
    void aPlaceThatCannotBeWrittenIsSaidSo();
    void aFullStoreEndsTheRecordingAndLosesNothing();
    void aFullDiskEndsTheRecordingAndLosesNothing();
    void aDiskThatARecordFilledToTheLastByteCanBeReadAndEmptied();
    void whatStandsInTheLogHasItsRoomInTheFileAlready();
    void aDeletedRecordGivesItsSpaceBack();
    void aLeaseThatEndedIsSeenWithoutALockToAsk();
    void deadOwnersLeaveNoLockFilesBehind();
    void statesAreStoredEveryFewSeconds();
    void eventsBeyondTheBoundAreCountedWhenTheStoreIsBlocked();

private:
    std::unique_ptr<Store> openBounded(std::uint32_t pages, const std::string& directory = {});
    std::string recordNumbered(Store& store, int count, std::size_t bytes);
};

std::string TestEmbeddedStore::recordNumbered(Store& store, int count, std::size_t bytes)
{
    std::vector<Event> events;
    for (int i = 0; i < count; ++i) {
        events.push_back(numberedText(i, bytes));
    }
    return record(store, events);
}

void TestEmbeddedStore::aDamagedChunkCostsOnlyItself()
{
    std::string uuid;
    {
        const auto store = openStore();
        uuid = recordNumbered(*store, 4'000, 100);
    }
    std::int64_t first = 0;
    std::int64_t count = 0;
    QVERIFY(runSql(m_under.place(), "SELECT first_us FROM chunks WHERE sequence = 3", &first));
    QVERIFY(runSql(m_under.place(), "SELECT count FROM chunks WHERE sequence = 3", &count));
    QVERIFY(runSql(m_under.place(),
        "UPDATE chunks SET packed = substr(packed, 1, 500) || x'FF' || substr(packed, 502) WHERE sequence = 3"));

    const auto store = openStore();
    const auto reader = read(*store, uuid);
    StoreResult result;
    const auto cursor = reader->events(0, 10'000, result);
    const std::vector<Event> events = allOf(*cursor);
    QCOMPARE(static_cast<std::int64_t>(events.size()), 4'000 - count);
    for (const Event& event : events) {
        QVERIFY(event.timeUs < first || event.timeUs >= first + count);
        QVERIFY(event == numberedText(static_cast<int>(event.timeUs), 100));
    }
    const std::vector<Damage> damages = cursor->takeDamages();
    QCOMPARE(damages.size(), std::size_t(1));
    QCOMPARE(damages[0].sequence, 3U);
    QCOMPARE(static_cast<std::int64_t>(damages[0].events), count);
    QVERIFY2(damages[0].reason.find("checksum") != std::string::npos, damages[0].reason.c_str());
    QVERIFY(cursor->takeDamages().empty());
    // An export goes on, and tells.
    csv::ExportChunk chunk;
    RR_DONE(csv::exportChunk(*reader, {}, chunk));
    QCOMPARE(chunk.damages.size(), std::size_t(1));
}

void TestEmbeddedStore::aMissingChunkCostsOnlyItself()
{
    std::string uuid;
    {
        const auto store = openStore();
        uuid = recordNumbered(*store, 4'000, 100);
    }
    std::int64_t count = 0;
    QVERIFY(runSql(m_under.place(), "SELECT count FROM chunks WHERE sequence = 2", &count));
    QVERIFY(runSql(m_under.place(), "DELETE FROM chunks WHERE sequence = 2"));
    const auto store = openStore();
    QCOMPARE(static_cast<std::int64_t>(eventsOf(*read(*store, uuid)).size()), 4'000 - count);
}

void TestEmbeddedStore::aDamagedStateIsPassedOver()
{
    const std::vector<Event> events = randomEvents(81, 30'000, 2'000);
    std::string uuid;
    {
        const auto store = openStore();
        uuid = record(*store, events);
    }
    std::int64_t states = 0;
    QVERIFY(runSql(m_under.place(), "SELECT count(*) FROM states", &states));
    QVERIFY(states >= 2);
    const auto store = openStore();
    std::vector<OutputValue> wanted;
    RR_DONE(read(*store, uuid)->stateBefore(events.back().timeUs, wanted));
    QVERIFY(runSql(m_under.place(),
        "UPDATE states SET packed = x'00' || substr(packed, 2) WHERE time_us = (SELECT max(time_us) FROM states)"));
    const auto reader = read(*store, uuid);
    std::vector<OutputValue> state;
    RR_DONE(reader->stateBefore(events.back().timeUs, state));
    QVERIFY(state == wanted);
    QCOMPARE(reader->takeDamages().size(), std::size_t(1));
}

void TestEmbeddedStore::aFileOfANewerVersionIsRefused()
{
    openStore().reset();
    QVERIFY(runSql(m_under.place(), "PRAGMA user_version = 2"));
    StoreResult result;
    QVERIFY(!m_under.open(result));
    QVERIFY(result.error == StoreError::NewerVersion);
    QVERIFY2(result.message.find("newer recorder") != std::string::npos, result.message.c_str());
    QVERIFY2(result.message.find("version 2") != std::string::npos, result.message.c_str());
}

void TestEmbeddedStore::anotherProgramsFileIsRefused()
{
    QVERIFY(runSql(m_under.place(), "CREATE TABLE things (x); INSERT INTO things VALUES (1)"));
    StoreResult result;
    QVERIFY(!m_under.open(result));
    QVERIFY(result.error == StoreError::Refused);
    std::int64_t things = 0;
    QVERIFY(runSql(m_under.place(), "SELECT count(*) FROM things", &things));
    QCOMPARE(things, 1);
}

void TestEmbeddedStore::aFileThatIsNoDatabaseIsRefused()
{
    QFile file(m_under.place() + "/records.db");
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(100'000, 'x'));
    file.close();
    StoreResult result;
    QVERIFY(!m_under.open(result));
    QVERIFY(result.error == StoreError::Damaged);
    QVERIFY2(result.message.find("records.db") != std::string::npos, result.message.c_str());
}

void TestEmbeddedStore::aPlaceThatCannotBeWrittenIsSaidSo()
{
    QFile file(m_under.place() + "/file");
    QVERIFY(file.open(QIODevice::WriteOnly));
    for (const QString& place :
        { m_under.place() + "/file", m_under.place() + "/file/below", QStringLiteral("/proc/here") }) {
        EmbeddedOptions options;
        options.directory = place.toStdString();
        StoreResult result;
        QVERIFY(!openEmbeddedStore(options, result));
        QVERIFY(result.error == StoreError::Unreachable);
        QVERIFY2(result.message.find(options.directory.string()) != std::string::npos, result.message.c_str());
        QVERIFY2(result.message.find("--data-directory") != std::string::npos, result.message.c_str());
    }
}

std::unique_ptr<Store> TestEmbeddedStore::openBounded(std::uint32_t pages, const std::string& directory)
{
    EmbeddedOptions options;
    options.directory = directory.empty() ? m_under.place().toStdString() : directory;
    options.mostPages = pages;
    options.onMessage = [this](const std::string& message) {
        const std::lock_guard guard(m_messagesMutex);
        m_messages.push_back(message);
    };
    StoreResult result;
    std::unique_ptr<Store> store = openEmbeddedStore(options, result);
    if (!store) {
        QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
    }
    return store;
}

void TestEmbeddedStore::aFullStoreEndsTheRecordingAndLosesNothing()
{
    const auto store = openBounded(1'000);
    const std::string before = recordNumbered(*store, 1'000, 100);
    std::unique_ptr<RecordWriter> writer;
    const RecordFacts facts = newFacts("too long");
    RR_DONE(store->create(facts, writer));
    StoreResult result;
    const int certain = recordUntilFull(*writer, result).certain;
    QVERIFY(result.error == StoreError::Full);
    QVERIFY2(result.message.find("full") != std::string::npos, result.message.c_str());
    QVERIFY(certain > 1'000);
    (void)writer->close(0);
    writer.reset();

    // Other recorders, without the bound, see a closed record once one of them could close it.
    const auto reopened = openStore();
    const QDeadlineTimer deadline(10'000);
    std::vector<RecordSummary> list;
    RR_DONE(reopened->records("too long", list));
    while (list.at(0).isOpen && !deadline.hasExpired()) {
        RR_DONE(reopened->records("too long", list));
        QThread::msleep(20);
    }
    const auto reader = read(*reopened, facts.uuid);
    const std::vector<Event> events = eventsOf(*reader);
    QVERIFY(static_cast<int>(events.size()) >= certain);
    for (std::size_t i = 0; i < events.size(); ++i) {
        QVERIFY(events[i] == numberedText(static_cast<int>(i), 1'000));
    }
    QCOMPARE(eventsOf(*read(*reopened, before)).size(), std::size_t(1'000));
}

void TestEmbeddedStore::aFullDiskEndsTheRecordingAndLosesNothing()
{
    checkFullDisk([this](const std::string& directory) { return openBounded(0, directory); });
}

void TestEmbeddedStore::aDiskThatARecordFilledToTheLastByteCanBeReadAndEmptied()
{
    const SmallDisk disk(m_under.place().toStdString(), "size=5m");
    if (!disk.isMounted()) {
        QSKIP("A full disk needs a small tmpfs, which only root may mount.");
    }
    const RecordFacts facts = newFacts("too long");
    {
        const auto store = openStore();
        std::unique_ptr<RecordWriter> writer;
        RR_DONE(store->create(facts, writer));
        StoreResult result;
        (void)recordUntilFull(*writer, result);
        QVERIFY(result.error == StoreError::Full);
        RR_DONE(writer->close(0));
    }
    for (int time = 0; time < 3; ++time) {
        // Somebody else takes what is left.
        QFile ballast(m_under.place() + "/ballast " + QString::number(time));
        QVERIFY(ballast.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        while (ballast.write(QByteArray(4'096, 'x')) > 0) { }
        const auto store = openStore();
        QVERIFY(store);
        const auto reader = read(*store, facts.uuid);
        QVERIFY(reader);
        QCOMPARE(eventsOf(*reader).size(), reader->facts().completeness.stored());
    }
    const auto store = openStore();
    QVERIFY(store);
    RR_DONE(store->remove(facts.uuid));
    std::unique_ptr<RecordWriter> writer;
    QTRY_VERIFY_WITH_TIMEOUT(store->create(newFacts("next"), writer), 20'000);
    RR_DONE(writer->append(numberedText(1).view()));
    RR_DONE(writer->close(0));
}

void TestEmbeddedStore::whatStandsInTheLogHasItsRoomInTheFileAlready()
{
    EmbeddedOptions options;
    options.directory = m_under.place().toStdString();
    options.upkeepUs = 600'000'000; // nobody moves it
    StoreResult result;
    const auto store = openEmbeddedStore(options, result);
    QVERIFY(store);
    std::unique_ptr<RecordWriter> writer;
    RR_DONE(store->create(newFacts("long"), writer));
    const qint64 logBefore = QFileInfo(m_under.place() + "/records.db-wal").size();
    for (int i = 0; i < 1'000; ++i) {
        RR_DONE(writer->append(numberedText(i, 1'000).view()));
        if (i % 50 != 49) {
            continue;
        }
        RR_DONE(writer->flush());
        std::int64_t pages = 0;
        QVERIFY(runSql(m_under.place(), "PRAGMA page_count", &pages));
        const qint64 bytes = QFileInfo(m_under.place() + "/records.db").size();
        QVERIFY2(bytes >= pages * 16 * 1024, qPrintable(QStringLiteral("%1 pages, %2 bytes").arg(pages).arg(bytes)));
    }
    QVERIFY(QFileInfo(m_under.place() + "/records.db-wal").size() > logBefore + 1'000 * 1'000);
    RR_DONE(writer->close(1'000));
}

void TestEmbeddedStore::aDeletedRecordGivesItsSpaceBack()
{
    const auto store = openStore();
    const std::string uuid = recordNumbered(*store, 20'000, 1'000);
    std::int64_t before = 0;
    QVERIFY(runSql(m_under.place(), "PRAGMA page_count", &before));
    QVERIFY(before > 1'000);
    QElapsedTimer timer;
    timer.start();
    RR_DONE(store->remove(uuid));
    QVERIFY2(timer.elapsed() < 1'000, std::to_string(timer.elapsed()).c_str());
    const QDeadlineTimer deadline(20'000);
    std::int64_t now = before;
    while (now > before / 10 && !deadline.hasExpired()) {
        QThread::msleep(20);
        QVERIFY(runSql(m_under.place(), "PRAGMA page_count", &now));
    }
    QVERIFY2(now <= before / 10, std::to_string(now).c_str());
}

void TestEmbeddedStore::aLeaseThatEndedIsSeenWithoutALockToAsk()
{
    // An owner that left no lock file, as one on a file system without locks.
    RecordFacts facts = newFacts("lost");
    {
        const auto store = openStore();
        std::unique_ptr<RecordWriter> writer;
        RR_DONE(store->create(facts, writer));
        RR_DONE(writer->append(numberedText(5).view()));
        RR_DONE(writer->close(0));
    }
    const auto own = [&](const char* expires) {
        return runSql(m_under.place(),
            QByteArray("UPDATE records SET state = 0, owner = 'ghost';"
                       "INSERT OR REPLACE INTO owners VALUES ('ghost', ")
                + expires + ")");
    };
    QVERIFY(own("9000000000000000"));
    {
        const auto store = openStore();
        std::vector<RecordSummary> list;
        RR_DONE(store->records({}, list));
        QVERIFY(list.at(0).isRecording && !list[0].isOwnedHere);
        QVERIFY(store->remove(facts.uuid).error == StoreError::InUse);
    }
    QVERIFY(own("1"));
    const auto store = openStore();
    std::vector<RecordSummary> list;
    RR_DONE(store->records({}, list));
    QVERIFY(!list.at(0).isRecording && !list[0].isOpen);
    QCOMPARE(list[0].durationUs, 5);
}

void TestEmbeddedStore::deadOwnersLeaveNoLockFilesBehind()
{
    QFile stray(m_under.place() + "/owner-of-nothing.lock");
    QVERIFY(stray.open(QIODevice::WriteOnly));
    stray.close();
    const auto locks = [&] { return QDir(m_under.place()).entryList({ "owner-*.lock" }).size(); };
    {
        const auto store = openStore();
        const auto other = openStore();
        record(*store, { numberedText(1) });
        QCOMPARE(locks(), 2);
    }
    QCOMPARE(locks(), 0);
}

void TestEmbeddedStore::statesAreStoredEveryFewSeconds()
{
    const auto store = openStore();
    record(*store, randomEvents(91, 20'000, 5'000)); // about a minute
    std::int64_t states = 0;
    QVERIFY(runSql(m_under.place(), "SELECT count(*) FROM states", &states));
    QVERIFY2(states >= 5, std::to_string(states).c_str());
}

void TestEmbeddedStore::eventsBeyondTheBoundAreCountedWhenTheStoreIsBlocked()
{
    EmbeddedOptions options;
    options.directory = m_under.place().toStdString();
    options.busyMs = 10;
    options.chunking.pendingBytes = 1'000'000;
    StoreResult result;
    const auto store = openEmbeddedStore(options, result);
    RR_DONE(result);
    std::unique_ptr<RecordWriter> writer;
    const RecordFacts facts = newFacts("blocked");
    RR_DONE(store->create(facts, writer));

    sqlite3* other = nullptr;
    QCOMPARE(sqlite3_open((m_under.place() + "/records.db").toUtf8().constData(), &other), SQLITE_OK);
    sqlite3_busy_timeout(other, 5'000);
    QCOMPARE(sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
    int failures = 0;
    for (int i = 0; i < 3'000; ++i) {
        failures += writer->append(numberedText(i, 1'000).view()) ? 0 : 1;
    }
    QVERIFY(failures > 0);
    QCOMPARE(sqlite3_exec(other, "COMMIT", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(other);

    RR_DONE(writer->close(0));
    const auto reader = read(*store, facts.uuid);
    const std::vector<Event> events = eventsOf(*reader);
    const Completeness completeness = reader->facts().completeness;
    QVERIFY(completeness.lost() > 0);
    QCOMPARE(completeness.outputs.at(0).lostStore + events.size(), 3'000U);
    QVERIFY(events.size() > 500);
    for (std::size_t i = 0; i < events.size(); ++i) {
        QVERIFY(events[i] == numberedText(static_cast<int>(i), 1'000));
    }
}

int main(int argc, char** argv)
{
    EmbeddedUnderTest store;
    if (const int status = childMain(argc, argv, store); status >= 0) {
        return status;
    }
    QCoreApplication application(argc, argv);
    TestEmbeddedStore test(store);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_embeddedstore.moc"
