// SPDX-License-Identifier: Apache-2.0
#include "../smalldisk.h"
#include "chunk/packedchunk.h"
#include "embeddedundertest.h"
#include "fulldisk.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QtEndian>

#include <QThread>
#include <barrier>
#include <limits>
#include <thread>

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
    void anotherProgramsFileStaysAsItIs();
    void recordersThatStartTogetherMakeOneStore();
    void aStoreWithATriggerOrAViewOfSomebodyElseIsRefused();
    void aStoreThatIsALinkIsRefused();
    void aJournalThatNamesAnotherFileIsNotCarriedOut();
    void anOwnerWhoseTokenLeadsToAnotherFolderDeletesNothingThere();
    void aLinkInPlaceOfTheReserveLeadsNowhere();
    void aFileThatIsNoDatabaseIsRefused();
    void aPlaceThatCannotBeWrittenIsSaidSo();
    void aFullStoreEndsTheRecordingAndLosesNothing();
    void aFullDiskEndsTheRecordingAndLosesNothing();
    void aDiskThatARecordFilledToTheLastByteCanBeReadAndEmptied();
    void whatStandsInTheLogHasItsRoomInTheFileAlready();
    void aDeletedRecordGivesItsSpaceBack();
    void aLeaseThatEndedIsSeenWithoutALockToAsk();
    void deadOwnersLeaveNoLockFilesBehind();
    void chunksUnderWrongTimesAreDamaged();
    void anExportOfChunksWithoutNumbersEnds();
    void anExportOfWhatIsNoTextIsRefused();
    void anExportOfARowTooLongToBeSentIsRefused();
    void numbersThatNoRecorderWritesHoldNobodyUp();
    void statesAreStoredEveryFewSeconds();
    void eventsBeyondTheBoundAreCountedWhenTheStoreIsBlocked();

private:
    static QByteArray contentOf(const QString& path);
    std::unique_ptr<Store> openBounded(std::uint32_t pages, const std::string& directory = {});
    std::string recordNumbered(Store& store, int count, std::size_t bytes);
};

QByteArray TestEmbeddedStore::contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
}

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

void TestEmbeddedStore::anotherProgramsFileStaysAsItIs()
{
    QVERIFY(runSql(m_under.place(), "CREATE TABLE things (x); INSERT INTO things VALUES (1)"));
    const QByteArray before = contentOf(m_under.place() + "/records.db");
    StoreResult result;
    QVERIFY(!m_under.open(result));
    QCOMPARE(contentOf(m_under.place() + "/records.db"), before);
}

// Each finds no file, an empty one, or another's tables, and takes none for a stranger's.
void TestEmbeddedStore::recordersThatStartTogetherMakeOneStore()
{
    constexpr int ROUNDS = 40;
    constexpr std::size_t RECORDERS = 6;
    for (int round = 0; round < ROUNDS; ++round) {
        const std::string directory = (m_under.place() + "/together-" + QString::number(round)).toStdString();
        QVERIFY(QDir().mkpath(QString::fromStdString(directory)));
        std::barrier begin(static_cast<std::ptrdiff_t>(RECORDERS));
        std::vector<std::unique_ptr<Store>> stores(RECORDERS);
        std::vector<StoreResult> results(RECORDERS);
        {
            std::vector<std::jthread> starting;
            for (std::size_t i = 0; i < RECORDERS; ++i) {
                starting.emplace_back([&, i] {
                    begin.arrive_and_wait();
                    EmbeddedOptions options;
                    options.directory = directory;
                    stores[i] = openEmbeddedStore(options, results[i]);
                });
            }
        }
        for (const StoreResult& result : results) {
            RR_DONE(result);
        }
    }
}

void TestEmbeddedStore::aStoreWithATriggerOrAViewOfSomebodyElseIsRefused()
{
    openStore().reset();
    const std::pair<const char*, const char*> changes[] = {
        { "CREATE TRIGGER thief AFTER INSERT ON chunks BEGIN DELETE FROM chunks; END", "DROP TRIGGER thief" },
        { "CREATE VIEW endless AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM n",
            "DROP VIEW endless" },
        { "ALTER TABLE records ADD COLUMN more AS (zeroblob(100000000))", "ALTER TABLE records DROP COLUMN more" },
    };
    for (const auto& [change, undo] : changes) {
        QVERIFY2(runSql(m_under.place(), change), change);
        StoreResult result;
        QVERIFY2(!m_under.open(result), change);
        QVERIFY(result.error == StoreError::Refused);
        QVERIFY2(result.message.find("somebody else changed it") != std::string::npos, result.message.c_str());
        QVERIFY2(runSql(m_under.place(), undo), undo);
        QVERIFY2(m_under.open(result), result.message.c_str());
    }
    // What the person's own tools add about the tables does no harm.
    const auto store = openStore();
    record(*store, { numberedText(1) });
    QVERIFY(runSql(m_under.place(), "ANALYZE"));
    StoreResult result;
    QVERIFY2(m_under.open(result), result.message.c_str());
}

void TestEmbeddedStore::aStoreThatIsALinkIsRefused()
{
    QTemporaryDir elsewhere;
    QFile file(elsewhere.filePath("notes"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    QVERIFY(QFile::link(file.fileName(), m_under.place() + "/records.db"));
    StoreResult result;
    QVERIFY(!m_under.open(result));
    QVERIFY(result.error == StoreError::Refused);
    QCOMPARE(QFile(file.fileName()).size(), 0);
}

void TestEmbeddedStore::aJournalThatNamesAnotherFileIsNotCarriedOut()
{
    {
        const auto store = openStore();
        record(*store, { numberedText(1) });
    }
    // A database in another mode than ours, with a journal that holds its first page, as it is, and the name of a file.
    QVERIFY(runSql(m_under.place(), "PRAGMA journal_mode = DELETE"));
    QTemporaryDir elsewhere;
    QFile precious(elsewhere.filePath("precious"));
    QVERIFY(precious.open(QIODevice::WriteOnly));
    precious.write("mine\n");
    precious.close();
    const QByteArray database = contentOf(m_under.place() + "/records.db");
    constexpr qsizetype pageBytes = 16 * 1024;
    const QByteArray page = database.first(pageBytes);
    quint32 pageSum = 0;
    for (qsizetype i = pageBytes - 200; i > 0; i -= 200) {
        pageSum += static_cast<unsigned char>(page[i]);
    }
    const auto number = [](quint32 value) {
        const quint32 big = qToBigEndian(value);
        return QByteArray(reinterpret_cast<const char*>(&big), sizeof big);
    };
    const QByteArray name = precious.fileName().toUtf8();
    quint32 nameSum = 0;
    for (const char c : name) {
        nameSum += static_cast<quint32>(static_cast<signed char>(c));
    }
    const QByteArray mark = QByteArray::fromHex("d9d505f920a163d7");
    QByteArray journal = mark + number(1) + number(0) + number(static_cast<quint32>(database.size() / pageBytes))
        + number(512) + number(pageBytes);
    journal += QByteArray(512 - journal.size(), '\0') + number(1) + page + number(pageSum);
    journal += number((1 << 30) / pageBytes + 1) + name + number(static_cast<quint32>(name.size())) + number(nameSum)
        + mark;
    QFile file(m_under.place() + "/records.db-journal");
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(journal) == journal.size());
    file.close();

    StoreResult result;
    QVERIFY(!m_under.open(result));
    QVERIFY(result.error == StoreError::Refused);
    QVERIFY2(result.message.find("names another file") != std::string::npos, result.message.c_str());
    QCOMPARE(contentOf(precious.fileName()), QByteArray("mine\n"));
}

void TestEmbeddedStore::anOwnerWhoseTokenLeadsToAnotherFolderDeletesNothingThere()
{
    {
        const auto store = openStore();
        record(*store, { numberedText(1) });
    }
    QTemporaryDir elsewhere;
    QVERIFY(QDir(m_under.place()).mkdir("owner-x"));
    for (const char* name : { "notes.lock", "notes" }) {
        QFile file(elsewhere.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    // The second goes on behind a zero byte, where the name of a file ends.
    const QByteArray path = "x/../../../../../../../../.." + elsewhere.filePath("notes").toUtf8();
    QVERIFY(runSql(m_under.place(),
        "INSERT INTO owners VALUES ('" + path + "', 0), ('" + path
            + "' || char(0), 0);"
              "UPDATE records SET state = 0, owner = '"
            + path + "'"));
    const auto store = openStore();
    QCOMPARE(QDir(elsewhere.path()).entryList(QDir::Files), QStringList({ "notes", "notes.lock" }));
    std::vector<RecordSummary> list;
    RR_DONE(store->records({}, list));
    QVERIFY(!list.at(0).isOpen);
}

void TestEmbeddedStore::aLinkInPlaceOfTheReserveLeadsNowhere()
{
    QTemporaryDir elsewhere;
    QFile precious(elsewhere.filePath("precious"));
    QVERIFY(precious.open(QIODevice::WriteOnly));
    precious.write(QByteArray(1000, 'x'));
    precious.close();
    const QString reserve = m_under.place() + "/reserve";
    QVERIFY(QFile::link(precious.fileName(), reserve));
    const auto store = openStore();
    record(*store, { numberedText(1) });
    QCOMPARE(precious.size(), 1000);
    QVERIFY(!QFileInfo(reserve).isSymLink());
    QVERIFY(QFileInfo(reserve).size() > 100'000);
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

namespace {

// A chunk of so many events of one time.
std::string chunkOf(int events, std::int64_t timeUs, std::uint64_t sequence)
{
    ChunkBuilder builder;
    const std::uint32_t output = builder.declare("agent", "o");
    for (int i = 0; i < events; ++i) {
        builder.add(output, timeUs, ValueView::fromInteger(i));
    }
    return builder.finish(ChunkKind::Events, sequence);
}

bool putChunk(const QString& directory, std::uint64_t sequence, std::int64_t timeUs, const std::string& packed)
{
    const QByteArray number = QByteArray::number(static_cast<qulonglong>(sequence));
    const QByteArray time = QByteArray::number(static_cast<qlonglong>(timeUs));
    return runSql(directory,
        "INSERT OR REPLACE INTO chunks SELECT (id << 32) + " + number + ", id, " + number + ", 0, " + time + ", " + time
            + ", 1, x'" + QByteArray::fromStdString(packed).toHex() + "' FROM records");
}

} // namespace

void TestEmbeddedStore::chunksUnderWrongTimesAreDamaged()
{
    std::string uuid;
    {
        const auto store = openStore();
        uuid = record(*store, { numberedText(1) });
    }
    QVERIFY(putChunk(m_under.place(), 1, 20, chunkOf(3, 10, 1)));
    const auto store = openStore();
    const auto reader = read(*store, uuid);
    StoreResult result;
    const auto cursor = reader->events(0, 1'000, result);
    RR_DONE(result);
    QCOMPARE(allOf(*cursor).size(), std::size_t(1));
    QCOMPARE(cursor->takeDamages().size(), std::size_t(1));
}

// What does not fit into a place to go on from would be exported again and again.
void TestEmbeddedStore::anExportOfChunksWithoutNumbersEnds()
{
    std::string uuid;
    {
        const auto store = openStore();
        uuid = record(*store, { numberedText(1) });
    }
    for (const std::uint64_t sequence : { std::uint64_t(1) << 40, (std::uint64_t(1) << 40) + 1 }) {
        QVERIFY(putChunk(m_under.place(), sequence, 10, chunkOf(12'000, 10, sequence)));
    }
    const auto store = openStore();
    const auto reader = read(*store, uuid);
    csv::ExportChunk chunk;
    StoreResult result;
    int chunks = 0;
    do {
        const csv::ExportCursor cursor = chunk.next;
        result = csv::exportChunk(*reader, cursor, chunk);
    } while (result && !chunk.next.isEmpty() && ++chunks < 20);
    QVERIFY(result.error == StoreError::Damaged);
    QVERIFY2(result.message.find("numbers a chunk") != std::string::npos, result.message.c_str());
}

// Behind a zero byte all of it would be missing in the person's file.
void TestEmbeddedStore::anExportOfWhatIsNoTextIsRefused()
{
    std::string uuid;
    {
        const auto store = openStore();
        uuid = record(*store, { numberedText(1) });
    }
    for (const char* text : { "'a' || char(0) || 'b'", "CAST(x'FF' AS TEXT)" }) {
        QVERIFY(runSql(m_under.place(), QByteArray("UPDATE records SET description = ") + text));
        const auto store = openStore();
        csv::ExportChunk chunk;
        const StoreResult result = csv::exportChunk(*read(*store, uuid), {}, chunk);
        QVERIFY(result.error == StoreError::Damaged);
        QVERIFY2(result.message.find("no text") != std::string::npos, result.message.c_str());
    }
}

void TestEmbeddedStore::anExportOfARowTooLongToBeSentIsRefused()
{
    const auto store = openStore();
    RecordFacts facts = newFacts("long");
    facts.description = std::string(61 * 1024 * 1024, 'x');
    std::unique_ptr<RecordWriter> writer;
    RR_DONE(store->create(facts, writer));
    RR_DONE(writer->close(0));
    csv::ExportChunk chunk;
    StoreResult result;
    do {
        const csv::ExportCursor cursor = chunk.next;
        result = csv::exportChunk(*read(*store, facts.uuid), cursor, chunk);
    } while (result && !chunk.next.isEmpty());
    QVERIFY(result.error == StoreError::Refused);
    QVERIFY2(result.message.find("cannot be sent") != std::string::npos, result.message.c_str());
}

void TestEmbeddedStore::numbersThatNoRecorderWritesHoldNobodyUp()
{
    const auto recordOne = [this] {
        const auto store = openStore();
        return record(*store, { numberedText(1) });
    };
    const std::string uuid = recordOne();
    const QByteArray most = QByteArray::number(std::numeric_limits<qlonglong>::max());
    const QByteArray least = QByteArray::number(std::numeric_limits<qlonglong>::min());
    // A row whose number goes back would be walked over for ever, and a state before all times.
    QVERIFY(putChunk(m_under.place(), 5, 10, chunkOf(3, 10, 5)));
    QVERIFY(runSql(m_under.place(),
        "UPDATE chunks SET sequence = 0; UPDATE records SET state = 0, owner = 'ghost', next_sequence = " + most
            + ", counted_through = " + least + ", duration_us = " + most + ", start_us = " + most
            + ", high_us = " + most + ", max_span_us = " + least + ", max_late_us = " + least
            + "; INSERT INTO states SELECT id, " + least + ", 0, x'00' FROM records"));
    {
        const auto store = openStore();
        std::vector<RecordSummary> list;
        RR_DONE(store->records({}, list));
        QVERIFY(!recordsToJson(list).empty());
        const auto reader = read(*store, uuid);
        std::vector<OutputValue> state;
        for (const std::int64_t timeUs :
            { std::int64_t(0), std::int64_t(7), std::numeric_limits<std::int64_t>::max() }) {
            RR_DONE(reader->stateBefore(timeUs, state));
        }
    }
    // The chunks of a record beyond would take the places of another record's.
    QVERIFY(runSql(m_under.place(), "UPDATE sqlite_sequence SET seq = 4294967296 WHERE name = 'records'"));
    const auto store = openStore();
    std::unique_ptr<RecordWriter> writer;
    const StoreResult result = store->create(newFacts("late"), writer);
    QVERIFY2(result.message.find("no number left") != std::string::npos, result.message.c_str());
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
