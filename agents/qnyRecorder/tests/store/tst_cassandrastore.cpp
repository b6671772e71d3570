// SPDX-License-Identifier: Apache-2.0
#include "cassandraundertest.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <chrono>

using namespace recorder;
using namespace recorder::testing;

// Runs the suite over Cassandra, and what only this store has.
class TestCassandraStore : public StoreSuite
{
    Q_OBJECT

public:
    explicit TestCassandraStore(CassandraUnderTest& store)
        : StoreSuite(store)
        , m_cassandra(store)
    {
    }

private:
    CassandraUnderTest& m_cassandra;

private slots:
    void initTestCase()
    {
        const QString why = m_cassandra.start();
        if (!why.isEmpty()) {
            QSKIP(qPrintable(why));
        }
    }

    void aPanicInTheDriverIsAnAnswer();
    void keysThatAreSentAgainChangeNothing();
    void theEndOfARecordIsRecognisedWhenItIsSentAgain();
    void anothersRepairIsNotTakenForTheEndThatWasSent();
    void aRecordIsMadeOnceWhateverHappenedToItSince();
    void aRecordThatWasTakenOverIsWrittenNoMore();
    void aRecordIsTakenBackFromWhoeverClosedIt();
    void whatAnOwnerLeftBehindItsEndIsNeverSeen();
    void longValuesAreKeptInParts();
    void aDeletedRecordLeavesNothingBehind();
    void aDeletionThatWasCutShortGoesOn();
    void anOwnerElsewhereLivesAsLongAsItsLease();
    void aRecordThatWasMadeAfterItsOwnerDiedIsClosed();
    void whoeverReadsElsewhereKeepsARecord();
    void aReaderThatEndsLeavesTheHoldsOfOthers();
    void rowsAreAsOldAsTheirWriterSays();
    void tablesOfANewerVersionAreRefused();
    void anotherProgramsKeyspaceIsRefused();
    void whereNobodyListensIsSaidSo();
    void aServerWithoutTlsIsSaidSo();
    void writesToAFrozenServerComeBackAndMayBeSentAgain();

private:
    std::unique_ptr<ChunkDatabase> connected();
    std::int64_t left(const std::string& uuid, const char* table);
    // Writes small chunks, so that there are several buckets.
    std::unique_ptr<RecordWriter> writer(ChunkDatabase& database, WriterStart start);
    std::string recordInBuckets(ChunkDatabase& database, const std::vector<Event>& events);
    RecordSummary summaryOf(ChunkDatabase& database, const std::string& uuid);
};

namespace {

// Every table with the column that names the record.
constexpr std::pair<const char*, const char*> tablesOfRecords[]
    = { { "records", "uuid" }, { "work", "record" }, { "holds", "record" }, { "facts", "record" },
          { "counts", "record" }, { "definitions", "record" }, { "initials", "record" }, { "buckets", "record" },
          { "chunk_infos", "record" }, { "chunks", "record" }, { "states", "record" } };

Batch batchOf(std::uint64_t sequence, std::int64_t firstUs, int count)
{
    ChunkBuilder builder;
    const std::uint32_t output = builder.declare("agent", "output");
    for (int i = 0; i < count; ++i) {
        builder.add(output, firstUs + i, ValueView::fromInteger(i));
    }
    ChunkRow row;
    row.info = { sequence, 0, builder.firstUs(), builder.lastUs(), builder.count() };
    row.packed = builder.finish(ChunkKind::Events, sequence);
    Batch batch;
    batch.chunks.push_back(std::move(row));
    batch.completeness = Completeness().toJson();
    batch.completenessThrough = sequence + 1;
    batch.extent.nextSequence = sequence + 1;
    batch.extent.events = (sequence + 1) * static_cast<std::uint64_t>(count);
    batch.extent.highUs = firstUs + count - 1;
    batch.extent.durationUs = batch.extent.highUs;
    batch.extent.maxSpanUs = count;
    batch.listChanged = true;
    return batch;
}

Batch lastOf(Batch batch)
{
    batch.last = true;
    batch.recordState = RecordState::Whole;
    return batch;
}

} // namespace

std::unique_ptr<ChunkDatabase> TestCassandraStore::connected()
{
    CassandraOptions options = m_cassandra.options();
    options.onMessage = [this](const std::string& message) {
        const std::lock_guard guard(m_messagesMutex);
        m_messages.push_back(message);
    };
    auto database = makeCassandraDatabase(options);
    const StoreResult result = database->connect();
    if (!result) {
        QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
    }
    return database;
}

std::int64_t TestCassandraStore::left(const std::string& uuid, const char* table)
{
    for (const auto& [name, column] : tablesOfRecords) {
        if (std::string_view(name) == table) {
            return m_cassandra.tables().number(
                "SELECT count(*) FROM " + std::string(name) + " WHERE " + column + " = '" + uuid + "' ALLOW FILTERING");
        }
    }
    return -1;
}

std::unique_ptr<RecordWriter> TestCassandraStore::writer(ChunkDatabase& database, WriterStart start)
{
    ChunkingOptions options;
    options.chunkBytes = 1'000;
    options.bucketChunks = 10;
    options.stateIntervalUs = 100'000;
    return std::make_unique<ChunkedWriter>(database.sink(start.facts.uuid), options, std::move(start));
}

std::string TestCassandraStore::recordInBuckets(ChunkDatabase& database, const std::vector<Event>& events)
{
    WriterStart start;
    start.facts = newFacts("in buckets");
    StoreResult result = database.create(start.facts);
    if (result) {
        const auto record = writer(database, start);
        (void)record->define("agent 1", "{}");
        (void)record->setInitial("agent 1", "output", ValueView::fromInteger(1));
        for (const Event& event : events) {
            (void)record->append(event.view());
        }
        result = record->close(0);
    }
    if (!result) {
        QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
    }
    return start.facts.uuid;
}

RecordSummary TestCassandraStore::summaryOf(ChunkDatabase& database, const std::string& uuid)
{
    std::vector<RecordSummary> list;
    if (const StoreResult result = database.records({}, list); !result) {
        QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
    }
    for (const RecordSummary& summary : list) {
        if (summary.uuid == uuid) {
            return summary;
        }
    }
    return {};
}

void TestCassandraStore::aPanicInTheDriverIsAnAnswer()
{
    cassandra_answer* answer = cassandra_panic_on_purpose();
    QCOMPARE(cassandra_answer_error(answer), CASSANDRA_INTERNAL);
    QVERIFY2(QByteArray(cassandra_answer_text(answer)).contains("on purpose"), cassandra_answer_text(answer));
    cassandra_answer_free(answer);

    cassandra_session* session = nullptr;
    cassandra_statement* statement = nullptr;
    for (cassandra_answer* failed : { cassandra_connect(nullptr, &session), cassandra_connect(nullptr, nullptr),
             cassandra_use_keyspace(nullptr, "x", 1), cassandra_run(nullptr, nullptr, 1),
             cassandra_prepare(nullptr, "x", CASSANDRA_READ, 1, 1, &statement),
             cassandra_execute(nullptr, nullptr, nullptr, 0, nullptr, 1),
             cassandra_write_rows(nullptr, nullptr, 1, 1, 1) }) {
        QCOMPARE(cassandra_answer_error(failed), CASSANDRA_INTERNAL);
        QCOMPARE(cassandra_answer_rows(failed), std::size_t(0));
        QCOMPARE(cassandra_answer_value(failed, 0, 0).type, CASSANDRA_NULL);
        cassandra_answer_free(failed);
    }
    cassandra_disconnect(nullptr);
    cassandra_statement_free(nullptr);
    cassandra_answer_free(nullptr);
}

void TestCassandraStore::keysThatAreSentAgainChangeNothing()
{
    const auto database = connected();
    const RecordFacts facts = newFacts("again");
    RR_DONE(database->create(facts));
    RR_DONE(database->create(facts));
    const auto sink = database->sink(facts.uuid);
    for (const Batch& batch : { batchOf(0, 0, 100), batchOf(0, 0, 100), batchOf(1, 100, 100), batchOf(1, 100, 100) }) {
        RR_DONE(sink->write(batch));
    }
    // Also by a sink that knows nothing of what was sent.
    RR_DONE(database->sink(facts.uuid)->write(batchOf(1, 100, 100)));
    std::unique_ptr<RecordReader> reader;
    RR_DONE(database->open(facts.uuid, reader));
    QCOMPARE(eventsOf(*reader).size(), std::size_t(200));
    const auto other = connected();
    QVERIFY(other->create(facts).error == StoreError::Refused);
}

void TestCassandraStore::theEndOfARecordIsRecognisedWhenItIsSentAgain()
{
    const auto database = connected();
    const RecordFacts facts = newFacts("ended");
    RR_DONE(database->create(facts));
    const Batch last = lastOf(batchOf(0, 0, 10));
    RR_DONE(database->sink(facts.uuid)->write(last));
    RR_DONE(database->sink(facts.uuid)->write(last));
    // Something else is no repetition.
    QVERIFY(database->sink(facts.uuid)->write(batchOf(1, 10, 10)).error == StoreError::NotFound);
    QVERIFY(database->sink(facts.uuid)->write(lastOf(batchOf(1, 10, 10))).error == StoreError::NotFound);
    QCOMPARE(summaryOf(*database, facts.uuid).events, 10U);
    QVERIFY(!summaryOf(*database, facts.uuid).isOpen);
}

// The counts, the losses and the true length that only the writer knows would be lost.
void TestCassandraStore::anothersRepairIsNotTakenForTheEndThatWasSent()
{
    const auto database = connected();
    const Batch stored = batchOf(0, 0, 10);
    Batch longer = lastOf(stored);
    longer.extent.durationUs = 1'000;
    for (const Batch& last : { lastOf(stored), longer }) {
        const RecordFacts facts = newFacts("repaired");
        RR_DONE(database->create(facts));
        const auto sink = database->sink(facts.uuid);
        RR_DONE(sink->write(stored));
        RR_DONE(database->repair(facts.uuid)); // as another recorder would
        QVERIFY(sink->write(last).error == StoreError::NotFound);
        RR_DONE(database->reclaim(facts.uuid, database->ownerToken()));
        RR_DONE(sink->write(last));
        RR_DONE(sink->write(last)); // now it is
        const RecordSummary summary = summaryOf(*database, facts.uuid);
        QVERIFY(!summary.isOpen && !summary.isRecording);
        QCOMPARE(summary.durationUs, last.extent.durationUs);
        std::unique_ptr<RecordReader> reader;
        RR_DONE(database->open(facts.uuid, reader));
        QVERIFY(reader->facts().completeness.isComplete());
    }
}

void TestCassandraStore::aRecordIsMadeOnceWhateverHappenedToItSince()
{
    const auto database = connected();
    const RecordFacts facts = newFacts("made");
    RR_DONE(database->create(facts));
    RR_DONE(database->repair(facts.uuid)); // as another recorder would
    QVERIFY(!summaryOf(*database, facts.uuid).isOpen);
    const auto other = connected();
    QVERIFY(other->create(facts).error == StoreError::Refused);
    RR_DONE(database->create(facts));
    QVERIFY(summaryOf(*database, facts.uuid).isOwnedHere);
    RR_DONE(database->sink(facts.uuid)->write(lastOf(batchOf(0, 0, 10))));
    QCOMPARE(summaryOf(*database, facts.uuid).events, 10U);
    // Somebody who reads it elsewhere keeps the deleted record from being purged.
    CassandraTables& tables = m_cassandra.tables();
    RR_DONE(tables.run("INSERT INTO owners (owner, place) VALUES ('elsewhere', 'another machine')"));
    RR_DONE(tables.run("INSERT INTO holds (record, owner) VALUES ('" + facts.uuid + "', 'elsewhere')"));
    RR_DONE(tables.run("UPDATE records SET state = 2 WHERE uuid = '" + facts.uuid + "' IF EXISTS"));
    QVERIFY(database->create(facts).error == StoreError::NotFound);
    QVERIFY(summaryOf(*database, facts.uuid).uuid.empty());
    RR_DONE(tables.run("DELETE FROM owners WHERE owner = 'elsewhere'"));
    QTRY_COMPARE_WITH_TIMEOUT(left(facts.uuid, "records"), 0, 10'000);
    QTRY_COMPARE(left(facts.uuid, "facts"), 0);
}

void TestCassandraStore::aRecordThatWasTakenOverIsWrittenNoMore()
{
    const auto database = connected();
    const RecordFacts facts = newFacts("taken");
    RR_DONE(database->create(facts));
    const auto sink = database->sink(facts.uuid);
    RR_DONE(sink->write(batchOf(0, 0, 10)));
    RR_DONE(database->repair(facts.uuid));
    QVERIFY(sink->write(batchOf(1, 10, 10)).error == StoreError::NotFound);
    const RecordSummary summary = summaryOf(*database, facts.uuid);
    QVERIFY(!summary.isOpen && !summary.isRecording);
    QCOMPARE(summary.events, 10U);
    QCOMPARE(summary.durationUs, 9);
    std::unique_ptr<RecordReader> reader;
    RR_DONE(database->open(facts.uuid, reader));
    QCOMPARE(eventsOf(*reader).size(), std::size_t(10)); // not what came too late
    QVERIFY(!reader->facts().completeness.isComplete());
}

void TestCassandraStore::aRecordIsTakenBackFromWhoeverClosedIt()
{
    const auto database = connected();
    const auto other = connected();
    const RecordFacts facts = newFacts("back");
    RR_DONE(database->create(facts));
    const auto sink = database->sink(facts.uuid);
    RR_DONE(sink->write(batchOf(0, 0, 10)));
    QVERIFY(other->reclaim(facts.uuid, "somebody").error == StoreError::InUse);
    RR_DONE(database->repair(facts.uuid));
    QVERIFY(other->reclaim(facts.uuid, "somebody").error == StoreError::InUse);
    RR_DONE(other->reclaim(facts.uuid, database->ownerToken()));
    RR_DONE(other->reclaim(facts.uuid, database->ownerToken())); // again
    QVERIFY(database->reclaim(facts.uuid, database->ownerToken()).error == StoreError::InUse);
    RR_DONE(other->sink(facts.uuid)->write(lastOf(batchOf(1, 10, 10))));
    QCOMPARE(summaryOf(*database, facts.uuid).events, 20U);
    QVERIFY(database->reclaim("nobody", database->ownerToken()).error == StoreError::NotFound);
}

void TestCassandraStore::whatAnOwnerLeftBehindItsEndIsNeverSeen()
{
    const auto database = connected();
    RecordFacts facts = newFacts("import");
    facts.origin = RecordOrigin::Imported;
    WriterStart start;
    start.facts = facts;
    RR_DONE(database->create(facts));
    std::vector<Event> wanted;
    {
        const auto import = writer(*database, start);
        for (int i = 0; i < 300; ++i) {
            wanted.emplace_back(i, "a", "o", ValueView::fromInteger(i));
            RR_DONE(import->append(wanted.back().view()));
        }
        RR_DONE(import->close(0));
    }
    // Stored just before it lost the record: beyond what the record's row says, in a bucket of old and in a new one.
    const std::int64_t next
        = m_cassandra.tables().number("SELECT next_sequence FROM records WHERE uuid = '" + facts.uuid + "'");
    const std::int64_t bucket
        = m_cassandra.tables().number("SELECT bucket FROM records WHERE uuid = '" + facts.uuid + "'");
    QVERIFY(next > 0);
    const auto insert = [&](std::int64_t number, std::int64_t sequence) {
        const std::string key = "'" + facts.uuid + "', " + std::to_string(number) + ", " + std::to_string(sequence);
        return m_cassandra.tables().run(
            "INSERT INTO chunk_infos (record, bucket, sequence, first_us, last_us, events) VALUES (" + key
            + ", 5, 6, 7)");
    };
    RR_DONE(insert(bucket, next));
    RR_DONE(insert(bucket + 1, next + 1));
    RR_DONE(m_cassandra.tables().run("INSERT INTO buckets (record, bucket, first_sequence, first_us, last_us) VALUES ('"
        + facts.uuid + "', " + std::to_string(bucket + 1) + ", " + std::to_string(next + 1) + ", 5, 6)"));
    const auto read = [&] {
        std::unique_ptr<RecordReader> reader;
        StoreResult result = database->open(facts.uuid, reader);
        const auto cursor = result ? reader->events(0, 1'000'000, result) : nullptr;
        std::vector<Event> events = cursor ? allOf(*cursor) : std::vector<Event>();
        if (!cursor || !cursor->takeDamages().empty()) {
            QTest::qFail("the record is damaged", __FILE__, __LINE__);
        }
        return events;
    };
    RR_SAME_EVENTS(read(), wanted);
    WriterStart again;
    RR_DONE(database->adopt(facts.uuid, again));
    QCOMPARE(again.extent.nextSequence, static_cast<std::uint64_t>(next));
    {
        const auto import = writer(*database, again);
        for (int i = 300; i < 600; ++i) {
            wanted.emplace_back(i, "a", "o", ValueView::fromInteger(i));
            RR_DONE(import->append(wanted.back().view()));
        }
        RR_DONE(import->close(0));
    }
    RR_SAME_EVENTS(read(), wanted);
}

void TestCassandraStore::longValuesAreKeptInParts()
{
    const std::string data(3'000'000, 'd');
    std::vector<Event> events;
    for (int i = 0; i < 3; ++i) {
        events.emplace_back(i, "agent 1", "large", ValueView::fromString(data + std::to_string(i)));
        events.emplace_back(i, "agent 1", "small", ValueView::fromInteger(i));
    }
    const auto database = connected();
    WriterStart start;
    start.facts = newFacts("long");
    RR_DONE(database->create(start.facts));
    {
        const auto record = writer(*database, start);
        RR_DONE(record->setInitial("agent 1", "large", ValueView::fromString(data)));
        RR_DONE(record->flush());
        RR_DONE(record->setInitial("agent 1", "large", ValueView::fromString("short after all")));
        RR_DONE(record->setInitial("agent 1", "other", ValueView::fromString(data)));
        for (const Event& event : events) {
            RR_DONE(record->append(event.view()));
        }
        RR_DONE(record->close(0));
    }
    std::unique_ptr<RecordReader> reader;
    RR_DONE(database->open(start.facts.uuid, reader));
    RR_SAME_EVENTS(eventsOf(*reader), events);
    QVERIFY((reader->initialValues()
        == std::vector<OutputValue> { { "agent 1", "large", ValueView::fromString("short after all") },
            { "agent 1", "other", ValueView::fromString(data) } }));
    QVERIFY(left(start.facts.uuid, "chunks") > 3 * 5);
}

void TestCassandraStore::aDeletedRecordLeavesNothingBehind()
{
    const auto database = connected();
    const std::string kept = recordInBuckets(*database, randomEvents(1, 2'000, 1'000));
    const std::string gone = recordInBuckets(*database, randomEvents(2, 2'000, 1'000));
    QVERIFY(left(gone, "buckets") > 2);
    QVERIFY(left(gone, "states") > 2);
    RR_DONE(database->remove(gone));
    std::unique_ptr<RecordReader> reader;
    QVERIFY(database->open(gone, reader).error == StoreError::NotFound);
    for (const auto& [table, column] : tablesOfRecords) {
        QTRY_COMPARE_WITH_TIMEOUT(left(gone, table), 0, 10'000);
        QVERIFY2(
            left(kept, table) > 0 || std::string_view(table) == "work" || std::string_view(table) == "holds", table);
    }
    RR_DONE(database->open(kept, reader));
    RR_SAME_EVENTS(eventsOf(*reader), randomEvents(1, 2'000, 1'000));
}

void TestCassandraStore::aDeletionThatWasCutShortGoesOn()
{
    std::string uuid;
    {
        const auto database = connected();
        uuid = recordInBuckets(*database, randomEvents(3, 2'000, 1'000));
    }
    CassandraTables& tables = m_cassandra.tables();
    RR_DONE(tables.run("INSERT INTO work (record, owner) VALUES ('" + uuid + "', 'dead')"));
    RR_DONE(tables.run("UPDATE records SET state = 2 WHERE uuid = '" + uuid + "' IF EXISTS"));
    RR_DONE(tables.run("DELETE FROM chunks WHERE record = '" + uuid + "' AND bucket = 0"));
    const auto database = connected();
    for (const auto& [table, column] : tablesOfRecords) {
        QTRY_COMPARE_WITH_TIMEOUT(left(uuid, table), 0, 10'000);
    }
}

void TestCassandraStore::anOwnerElsewhereLivesAsLongAsItsLease()
{
    const auto database = connected();
    const std::string uuid = recordInBuckets(*database, randomEvents(4, 100));
    CassandraTables& tables = m_cassandra.tables();
    RR_DONE(tables.run("INSERT INTO owners (owner, place) VALUES ('elsewhere', 'another machine') USING TTL 3"));
    RR_DONE(tables.run("INSERT INTO work (record, owner) VALUES ('" + uuid + "', 'elsewhere')"));
    RR_DONE(tables.run("UPDATE records SET owner = 'elsewhere', last_owner = 'elsewhere', state = 0 WHERE uuid = '"
        + uuid + "' IF EXISTS"));
    const auto other = connected();
    QVERIFY(summaryOf(*other, uuid).isRecording);
    QVERIFY(other->remove(uuid).error == StoreError::InUse);
    QTRY_VERIFY_WITH_TIMEOUT(!summaryOf(*other, uuid).isRecording, 15'000);
    QVERIFY(!summaryOf(*other, uuid).isOpen);
    QCOMPARE(summaryOf(*other, uuid).events, 100U);
    const auto wasTold = [this, &uuid] {
        const std::lock_guard guard(m_messagesMutex);
        return std::count_if(m_messages.begin(), m_messages.end(),
            [&](const std::string& message) { return message.find(uuid) != std::string::npos; });
    };
    QTRY_COMPARE(wasTold(), 1); // by one of the two that look after it
    QTRY_COMPARE(left(uuid, "work"), 0);
}

// A server that stood still makes it when the owner's work was already found to be done: nobody looks after it.
void TestCassandraStore::aRecordThatWasMadeAfterItsOwnerDiedIsClosed()
{
    const std::string uuid = newRecordUuid();
    RR_DONE(m_cassandra.tables().run(
        "INSERT INTO records (uuid, name, start_us, origin, state, owner, last_owner, duration_us, events,"
        " next_sequence, bucket, high_us, max_span_us, max_late_us, counts_slot, counted_through) VALUES ('"
        + uuid + "', 'late', 1, 0, 0, 'dead', 'dead', 0, 0, 0, 0, 0, 0, 0, '', 0) IF NOT EXISTS"));
    QCOMPARE(left(uuid, "work"), 0);
    const auto database = connected();
    QTRY_VERIFY_WITH_TIMEOUT(!summaryOf(*database, uuid).isRecording, 10'000);
    QVERIFY(!summaryOf(*database, uuid).isOpen);
    QTRY_COMPARE(left(uuid, "work"), 0);
    RR_DONE(database->remove(uuid));
    QTRY_COMPARE_WITH_TIMEOUT(left(uuid, "records"), 0, 10'000);
}

void TestCassandraStore::whoeverReadsElsewhereKeepsARecord()
{
    const auto database = connected();
    const std::string uuid = recordInBuckets(*database, randomEvents(5, 100));
    CassandraTables& tables = m_cassandra.tables();
    RR_DONE(tables.run("INSERT INTO owners (owner, place) VALUES ('elsewhere', 'another machine')"));
    RR_DONE(tables.run("INSERT INTO holds (record, owner) VALUES ('" + uuid + "', 'elsewhere')"));
    const StoreResult refused = database->remove(uuid);
    QVERIFY(refused.error == StoreError::InUse);
    QVERIFY2(refused.message.find("replayed or exported") != std::string::npos, refused.message.c_str());
    QVERIFY(!summaryOf(*database, uuid).uuid.empty());
    RR_DONE(tables.run("DELETE FROM owners WHERE owner = 'elsewhere'"));
    RR_DONE(database->remove(uuid));
}

void TestCassandraStore::aReaderThatEndsLeavesTheHoldsOfOthers()
{
    const auto database = connected();
    const auto other = connected();
    const std::string uuid = recordInBuckets(*database, randomEvents(6, 100));
    std::unique_ptr<RecordReader> first;
    std::unique_ptr<RecordReader> second;
    RR_DONE(database->open(uuid, first));
    RR_DONE(database->open(uuid, second));
    // Each has its own, so that in whatever order they are written and removed none goes with another.
    QCOMPARE(left(uuid, "holds"), 2);
    first.reset();
    QCOMPARE(left(uuid, "holds"), 1);
    QVERIFY(other->remove(uuid).error == StoreError::InUse);
    second.reset();
    QCOMPARE(left(uuid, "holds"), 0);
    RR_DONE(other->remove(uuid));
}

// A server's own clock would call what it took later the newer one, which need not be so with several servers.
void TestCassandraStore::rowsAreAsOldAsTheirWriterSays()
{
    using std::chrono::microseconds;
    const auto now = [] {
        return std::chrono::duration_cast<microseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
    };
    const auto database = connected();
    const RecordFacts facts = newFacts("aged");
    RR_DONE(database->create(facts));
    const auto sink = database->sink(facts.uuid);
    RR_DONE(sink->write(batchOf(0, 0, 100)));
    m_cassandra.cluster().freeze(1);
    const std::int64_t begin = now();
    const StoreResult result = sink->write(batchOf(1, 100, 100));
    const std::int64_t end = now();
    m_cassandra.cluster().thaw(1);
    QVERIFY2(result.outcome == Outcome::Unknown, result.message.c_str());
    // The server does then what it was asked while it stood still.
    const std::string age = "SELECT WRITETIME(first_us) FROM chunk_infos WHERE record = '" + facts.uuid
        + "' AND bucket = 0 AND sequence = 1";
    std::int64_t written = -1;
    QTRY_VERIFY_WITH_TIMEOUT((written = m_cassandra.tables().number(age)) > 0, 20'000);
    QVERIFY2(written >= begin, std::to_string(written - begin).c_str());
    QVERIFY2(written <= end, std::to_string(written - end).c_str());
}

void TestCassandraStore::tablesOfANewerVersionAreRefused()
{
    CassandraTables& tables = m_cassandra.tables();
    RR_DONE(tables.run("UPDATE meta SET value = '2' WHERE key = 'version' IF EXISTS"));
    StoreResult result;
    const auto store = m_under.open(result);
    RR_DONE(tables.run("UPDATE meta SET value = '1' WHERE key = 'version' IF EXISTS"));
    QVERIFY(!store);
    QVERIFY(result.error == StoreError::NewerVersion);
    QVERIFY2(result.message.find("newer recorder") != std::string::npos, result.message.c_str());
    QVERIFY2(result.message.find("version 2") != std::string::npos, result.message.c_str());
}

void TestCassandraStore::anotherProgramsKeyspaceIsRefused()
{
    CassandraOptions options = m_cassandra.options();
    options.keyspace = "Another";
    RR_DONE(m_cassandra.tables().run("CREATE KEYSPACE \"Another\" WITH replication = {'class': 'SimpleStrategy',"
                                     " 'replication_factor': 1}"));
    RR_DONE(m_cassandra.tables().run("CREATE TABLE \"Another\".meta (id int PRIMARY KEY, text text)"));
    const StoreResult result = makeCassandraDatabase(options)->connect();
    QVERIFY(result.error == StoreError::Refused);
    QVERIFY2(result.message.find("another program") != std::string::npos, result.message.c_str());
}

void TestCassandraStore::whereNobodyListensIsSaidSo()
{
    CassandraOptions options = m_cassandra.options();
    options.port = 1;
    const auto database = makeCassandraDatabase(options);
    const StoreResult result = database->connect();
    QVERIFY(result.error == StoreError::Unreachable);
    QVERIFY(result.outcome == Outcome::Failed);
    QVERIFY2(result.message.find(options.host + ":1 cannot be reached") != std::string::npos, result.message.c_str());
    std::vector<RecordSummary> list;
    std::uint64_t revision = 0;
    std::unique_ptr<RecordReader> reader;
    for (const StoreResult& failed : { database->records({}, list), database->listRevision(revision),
             database->open("x", reader), database->rename("x", "y"), database->remove("x"),
             database->create(newFacts("x")), database->repair("x"), database->sink("x")->write(batchOf(0, 0, 1)) }) {
        QVERIFY(failed.error == StoreError::Unreachable);
        QVERIFY2(failed.message.find(options.host) != std::string::npos, failed.message.c_str());
    }
}

void TestCassandraStore::aServerWithoutTlsIsSaidSo()
{
    CassandraOptions options = m_cassandra.options();
    options.tls = true;
    const StoreResult result = makeCassandraDatabase(options)->connect();
    QVERIFY2(result.error == StoreError::Refused, result.message.c_str());
    QVERIFY2(result.message.find("does not speak TLS") != std::string::npos, result.message.c_str());
}

void TestCassandraStore::writesToAFrozenServerComeBackAndMayBeSentAgain()
{
    const auto database = connected();
    const RecordFacts facts = newFacts("frozen");
    RR_DONE(database->create(facts));
    const auto sink = database->sink(facts.uuid);
    RR_DONE(sink->write(batchOf(0, 0, 100)));
    m_cassandra.cluster().freeze(1);
    QElapsedTimer timer;
    timer.start();
    const StoreResult result = sink->write(lastOf(batchOf(1, 100, 100)));
    const qint64 took = timer.elapsed();
    m_cassandra.cluster().thaw(1);
    QVERIFY(result.error == StoreError::Unreachable);
    QVERIFY2(result.outcome == Outcome::Unknown, result.message.c_str());
    QVERIFY2(took < 10'000, std::to_string(took).c_str()); // about two seconds on a machine that has nothing else to do
    StoreResult again;
    QTRY_VERIFY_WITH_TIMEOUT((again = sink->write(lastOf(batchOf(1, 100, 100)))), 20'000);
    const RecordSummary summary = summaryOf(*database, facts.uuid);
    QVERIFY(!summary.isOpen);
    QCOMPARE(summary.events, 200U);
    std::unique_ptr<RecordReader> reader;
    RR_DONE(database->open(facts.uuid, reader));
    QCOMPARE(eventsOf(*reader).size(), std::size_t(200));
}

int main(int argc, char** argv)
{
    CassandraUnderTest store;
    if (const int status = childMain(argc, argv, store); status >= 0) {
        return status;
    }
    QCoreApplication application(argc, argv);
    TestCassandraStore test(store);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_cassandrastore.moc"
