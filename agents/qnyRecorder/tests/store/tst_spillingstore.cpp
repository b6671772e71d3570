// SPDX-License-Identifier: Apache-2.0
#include "childrecorder.h"
#include "embeddedundertest.h"
#include "faultydatabase.h"
#include "store/chunkedwriter.h"
#include "store/spill/spillingstore.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QThread>

#include <set>
#include <sys/mount.h>
#include <unistd.h>

using namespace recorder;
using namespace recorder::testing;

namespace {

// What a child process's database does to it.
constexpr const char* planVariable = "RR_TEST_FAULTS";

class SpillingUnderTest : public StoreUnderTest
{
public:
    void makeEmpty() override
    {
        m_directory = std::make_unique<QTemporaryDir>();
        m_place = m_directory->path();
        faults = std::make_shared<FaultSwitch>();
        limitBytes = SpillOptions().limitBytes;
        journals.clear();
    }
    std::unique_ptr<Store> open(StoreResult& result, Store::MessageHandler onMessage = nullptr) override
    {
        if (!faults) { // in a child
            faults = std::make_shared<FaultSwitch>();
            if (qEnvironmentVariableIsSet(planVariable)) {
                faults->follow(qEnvironmentVariable(planVariable));
            }
        }
        auto database = std::make_unique<FaultyDatabase>(m_place.toStdString(), faults, onMessage);
        last = database.get();
        SpillOptions options;
        options.directory = journalDirectory().toStdString();
        options.limitBytes = limitBytes;
        options.onMessage = std::move(onMessage);
        options.tellAfterUs = 0;
        options.leastPauseUs = 20'000;
        options.mostPauseUs = 100'000;
        return openSpillingStore(std::move(database), options, result);
    }
    QString place() const override { return m_place; }
    void usePlace(const QString& place) override { m_place = place; }
    bool holdsAnythingOf(const std::string& uuid) override { return databaseHolds(m_place, uuid); }
    QString journalDirectory() const { return journals.isEmpty() ? m_place + "/spill" : journals; }

    std::shared_ptr<FaultSwitch> faults;
    FaultyDatabase* last = nullptr; // of the store opened last
    std::uint64_t limitBytes = SpillOptions().limitBytes;
    QString journals; // elsewhere than in the place

private:
    std::unique_ptr<QTemporaryDir> m_directory;
    QString m_place;
};

} // namespace

namespace {

// Keeps what it is given, and says what it was told to say.
class AnsweringSink : public ChunkSink
{
public:
    AnsweringSink(const StoreResult& answer, std::vector<Batch>& batches)
        : m_answer(answer)
        , m_batches(batches)
    {
    }
    StoreResult write(const Batch& batch) override
    {
        m_batches.push_back(batch);
        // There is always room for what tells of losses.
        return m_answer.error == StoreError::Overflow && batch.chunks.empty() ? StoreResult::done() : m_answer;
    }
    void abandon(const Batch& last) override { m_batches.push_back(last); }

private:
    const StoreResult& m_answer;
    std::vector<Batch>& m_batches;
};

} // namespace

// Runs the suite over a spilling store, and what a database that fails does to it: what was produced is what is stored
// and what is reported as lost, and what a killed recorder had not stored for a second.
class TestSpillingStore : public StoreSuite
{
    Q_OBJECT

public:
    explicit TestSpillingStore(SpillingUnderTest& under)
        : StoreSuite(under)
        , m_spilling(under)
    {
    }

private slots:
    void noNumberOfAChunkIsUsedTwice();
    void onlyTheLatestDefinitionOfAnAgentWaits();
    void whatGoesStraightLeavesNoJournal();
    void anOutageLeavesNoTraceInTheRecord_data();
    void anOutageLeavesNoTraceInTheRecord();
    void aDatabaseThatSaysNothingHoldsNobodyUp();
    void anyMixtureOfFaultsLosesNothing_data();
    void anyMixtureOfFaultsLosesNothing();
    void aDatabaseThatIsNotThereAtTheStart();
    void aRecordThatWaitsIsListedAndNotDeleted();
    void aDeletedRecordDoesNotComeBack();
    void aRecordClosedByAnotherRecorderGetsItsTrueEnd();
    void beyondTheBoundEventsAreCountedAsLost();
    void afterTheBoundTheRecordingGoesOn();
    void aFullLocalDiskIsSurvived();
    void aKillLosesAtMostASecond_data();
    void aKillLosesAtMostASecond();
    void aRecordThatWasClosedInItsJournalIsClosedAfterARestart();
    void aDamagedJournalIsReported();
    void aDatabaseThatRefusesTheRecorderIsToldAtTheStart();

private:
    QStringList journals() const { return QDir(m_spilling.journalDirectory()).entryList(QDir::Files); }
    bool said(const char* words)
    {
        const std::lock_guard guard(m_messagesMutex);
        return std::any_of(m_messages.begin(), m_messages.end(),
            [&](const std::string& message) { return message.find(words) != std::string::npos; });
    }
    // Until the database has everything.
    bool waitForDraining(Store& store, int milliseconds = 30'000)
    {
        const QDeadlineTimer deadline(milliseconds);
        std::vector<RecordSummary> list;
        do {
            if (store.records({}, list) && journals().isEmpty()
                && std::none_of(
                    list.begin(), list.end(), [](const RecordSummary& summary) { return summary.isOpen; })) {
                return true;
            }
            QThread::msleep(5);
        } while (!deadline.hasExpired());
        return false;
    }
    std::unique_ptr<RecordWriter> begin(Store& store, std::string& uuid)
    {
        std::unique_ptr<RecordWriter> writer;
        const RecordFacts facts = newFacts("record");
        uuid = facts.uuid;
        const StoreResult result = store.create(facts, writer);
        if (!result) {
            QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
        }
        return writer;
    }
    void fill(RecordWriter& writer, std::int64_t from, std::int64_t to, std::size_t bytes = 0);
    void checkKilled(const std::string& uuid, std::int64_t atLeast);
    void checkAccounts(Store& store, const std::string& uuid, std::uint64_t produced, std::size_t bytes);

    SpillingUnderTest& m_spilling;
};

namespace {

Event sized(std::int64_t i, std::size_t bytes)
{
    return { i, "agent", "o" + std::to_string(i % 3),
        ValueView::fromString(std::to_string(i) + std::string(bytes, '.')) };
}

} // namespace

void TestSpillingStore::fill(RecordWriter& writer, std::int64_t from, std::int64_t to, std::size_t bytes)
{
    for (std::int64_t i = from; i < to; ++i) {
        (void)writer.append(sized(i, bytes).view());
    }
    (void)writer.flush();
}

// Produced is stored and lost; nothing is there twice or altered; the counts of each output are true.
void TestSpillingStore::checkAccounts(Store& store, const std::string& uuid, std::uint64_t produced, std::size_t bytes)
{
    const auto reader = read(store, uuid);
    QVERIFY(reader);
    const std::vector<Event> events = eventsOf(*reader);
    const Completeness completeness = reader->facts().completeness;
    QCOMPARE(completeness.stored(), events.size());
    QCOMPARE(completeness.stored() + completeness.lost(), produced);
    std::map<std::string, std::uint64_t> counts;
    std::int64_t before = -1;
    for (const Event& event : events) {
        QVERIFY(event.timeUs > before);
        before = event.timeUs;
        QVERIFY(event == sized(event.timeUs, bytes));
        ++counts[event.output];
    }
    for (const OutputCompleteness& output : completeness.outputs) {
        QCOMPARE(output.stored, counts[output.output]);
    }
    // The state at the end is that of the events.
    std::vector<OutputValue> state;
    RR_DONE(reader->stateBefore(std::numeric_limits<std::int64_t>::max(), state));
    QCOMPARE(state.size(), counts.size());
    for (const OutputValue& value : state) {
        const auto last = std::find_if(
            events.rbegin(), events.rend(), [&](const Event& event) { return event.output == value.output; });
        QVERIFY(last != events.rend() && last->value == value.value);
    }
}

// A write whose outcome nobody knows may come late, and must not replace what came after it.
void TestSpillingStore::noNumberOfAChunkIsUsedTwice()
{
    WriterStart start;
    start.facts = newFacts("record");
    StoreResult answer = StoreResult::done();
    std::vector<Batch> batches;
    ChunkedWriter writer(std::make_unique<AnsweringSink>(answer, batches), ChunkingOptions(), std::move(start));
    std::set<std::uint64_t> numbers;
    std::size_t chunks = 0;
    for (std::int64_t i = 0; i < 5; ++i) {
        answer = i % 2 ? StoreResult::failed(StoreError::Overflow, "No room.") : StoreResult::done();
        fill(writer, i * 10, (i + 1) * 10);
    }
    answer = StoreResult::done();
    RR_DONE(writer.close(100));
    for (const Batch& batch : batches) {
        for (const ChunkRow& row : batch.chunks) {
            ++chunks;
            numbers.insert(row.info.sequence);
            QVERIFY(row.info.sequence < batch.extent.nextSequence);
        }
    }
    QCOMPARE(chunks, std::size_t(5));
    QCOMPARE(numbers.size(), chunks);
    QCOMPARE(writer.completeness().stored(), 30U);
    QCOMPARE(writer.completeness().lost(), 20U);
}

void TestSpillingStore::onlyTheLatestDefinitionOfAnAgentWaits()
{
    WriterStart start;
    start.facts = newFacts("record");
    StoreResult answer = StoreResult::failed(StoreError::Unreachable, "Nobody is there.");
    std::vector<Batch> batches;
    ChunkedWriter writer(std::make_unique<AnsweringSink>(answer, batches), ChunkingOptions(), std::move(start));
    for (int i = 0; i < 1'000; ++i) {
        for (const char* agent : { "one", "two" }) {
            RR_DONE(writer.define(agent, std::to_string(i)));
            RR_DONE(writer.setInitial(agent, "o", ValueView::fromInteger(i)));
        }
    }
    QVERIFY(!writer.flush());
    answer = StoreResult::done();
    RR_DONE(writer.define("two", "last"));
    RR_DONE(writer.flush());
    QCOMPARE(batches.back().definitions.size(), std::size_t(2));
    QCOMPARE(batches.back().initials.size(), std::size_t(2));
    QCOMPARE(batches.back().definitions[0].definition.json, std::string("999"));
    QCOMPARE(batches.back().definitions[1].definition.json, std::string("last"));
    RR_DONE(writer.define("two", "after"));
    RR_DONE(writer.close(0));
    QCOMPARE(batches.back().definitions.size(), std::size_t(1));
}

void TestSpillingStore::whatGoesStraightLeavesNoJournal()
{
    const auto store = openStore();
    const std::string uuid = record(*store, randomEvents(5, 5'000));
    QVERIFY(journals().isEmpty());
    QVERIFY(m_messages.empty());
    QVERIFY(read(*store, uuid)->facts().completeness.isComplete());
}

void TestSpillingStore::anOutageLeavesNoTraceInTheRecord_data()
{
    QTest::addColumn<Fault>("fault");
    QTest::addRow("fails") << Fault::Fails;
    QTest::addRow("hangs") << Fault::Hangs;
    QTest::addRow("applies and says that it does not know") << Fault::AppliesAndFails;
}

void TestSpillingStore::anOutageLeavesNoTraceInTheRecord()
{
    QFETCH(Fault, fault);
    const std::vector<Event> events = randomEvents(17, 12'000, 3'000);
    const auto store = openStore();
    RecordFacts facts = newFacts("record");
    std::string exported[2];
    for (const bool isDisturbed : { false, true }) {
        std::unique_ptr<RecordWriter> writer;
        RR_DONE(store->create(facts, writer));
        RR_DONE(writer->define("agent 1", "{}"));
        RR_DONE(writer->setInitial("agent 1", "out1", ValueView::fromInteger(4)));
        for (std::size_t i = 0; i < events.size(); ++i) {
            if (isDisturbed && i == 4'000) {
                m_spilling.faults->set(fault);
            } else if (isDisturbed && i == 8'000) {
                QCOMPARE(journals().size(), 1);
                QTRY_VERIFY(said("goes into the journal"));
                m_spilling.faults->set(Fault::None);
            }
            RR_DONE(writer->append(events[i].view()));
            if (i % 1'000 == 0) {
                RR_DONE(writer->flush());
            }
        }
        RR_DONE(writer->close(events.back().timeUs + 10));
        writer.reset();
        QVERIFY(waitForDraining(*store));
        const auto reader = read(*store, facts.uuid);
        RR_SAME_EVENTS(eventsOf(*reader), events);
        QVERIFY(reader->facts().completeness.isComplete());
        exported[isDisturbed] = exportAll(*store, facts.uuid);
        facts.uuid = newRecordUuid();
    }
    QCOMPARE(exported[1], exported[0]);
    QVERIFY(said("takes writes again"));
}

void TestSpillingStore::aDatabaseThatSaysNothingHoldsNobodyUp()
{
    const auto store = openStore();
    std::string uuid;
    const auto writer = begin(*store, uuid);
    m_spilling.faults->setHang(std::chrono::seconds(5));
    m_spilling.faults->set(Fault::Hangs);
    QElapsedTimer timer;
    timer.start();
    fill(*writer, 0, 1'000);
    fill(*writer, 1'000, 2'000);
    std::vector<RecordSummary> list;
    RR_DONE(store->records({}, list));
    QVERIFY2(timer.elapsed() < 2'500, std::to_string(timer.elapsed()).c_str());
    m_spilling.faults->set(Fault::None);
    RR_DONE(writer->close(0));
    QVERIFY(waitForDraining(*store));
    checkAccounts(*store, uuid, 2'000, 0);
}

void TestSpillingStore::anyMixtureOfFaultsLosesNothing_data()
{
    QTest::addColumn<int>("seed");
    for (int seed = 1; seed <= 12; ++seed) {
        QTest::addRow("seed %d", seed) << seed;
    }
}

void TestSpillingStore::anyMixtureOfFaultsLosesNothing()
{
    QFETCH(int, seed);
    std::mt19937_64 random(static_cast<std::uint64_t>(seed));
    m_spilling.faults->seedRandom(random());
    m_spilling.faults->setHang(std::chrono::milliseconds(60));
    m_spilling.faults->set(random() % 2 ? Fault::Random : Fault::None);
    auto store = openStore();
    std::string uuid;
    auto writer = begin(*store, uuid);
    std::int64_t produced = 0;
    for (int step = 0; step < 60; ++step) {
        if (random() % 8 == 0) {
            m_spilling.faults->set(random() % 3 ? Fault::Random : Fault::None);
        }
        const auto more = static_cast<std::int64_t>(random() % 500);
        fill(*writer, produced, produced + more, 5);
        produced += more;
    }
    (void)writer->close(0);
    writer.reset();
    if (random() % 2) { // what waits is stored by the next recorder
        store.reset();
        store = openStore();
    }
    m_spilling.faults->set(Fault::None);
    QVERIFY(waitForDraining(*store));
    checkAccounts(*store, uuid, static_cast<std::uint64_t>(produced), 5);
    QVERIFY(read(*store, uuid)->facts().completeness.isComplete());
}

void TestSpillingStore::aDatabaseThatIsNotThereAtTheStart()
{
    m_spilling.faults->set(Fault::Fails);
    const auto store = openStore();
    QVERIFY(store);
    QVERIFY(said("out of reach"));
    std::vector<RecordSummary> list;
    RR_DONE(store->records({}, list));
    QVERIFY(list.empty());
    QVERIFY(said("only what waits on this machine"));
    std::string uuid;
    auto writer = begin(*store, uuid);
    fill(*writer, 0, 3'000);
    RR_DONE(store->records({}, list));
    QCOMPARE(list.size(), std::size_t(1));
    QVERIFY(list[0].uuid == uuid && list[0].isRecording && list[0].isOwnedHere);
    QCOMPARE(list[0].events, 3'000U);
    std::unique_ptr<RecordReader> reader;
    QVERIFY(store->open(uuid, reader).error == StoreError::Unreachable);
    QVERIFY(store->rename(uuid, "other").error == StoreError::Unreachable);
    RR_DONE(writer->close(5'000));
    writer.reset();
    RR_DONE(store->records({}, list));
    QVERIFY(!list.at(0).isRecording);
    QCOMPARE(list[0].durationUs, 5'000);
    m_spilling.faults->set(Fault::None);
    QVERIFY(waitForDraining(*store));
    checkAccounts(*store, uuid, 3'000, 0);
}

void TestSpillingStore::aRecordThatWaitsIsListedAndNotDeleted()
{
    const auto store = openStore();
    const std::string before = record(*store, { sized(1, 0) }, "before");
    std::vector<RecordSummary> list;
    RR_DONE(store->records({}, list));
    std::uint64_t revision = 0;
    RR_DONE(store->listRevision(revision));
    std::string uuid;
    auto writer = begin(*store, uuid);
    std::uint64_t now = 0;
    RR_DONE(store->listRevision(now));
    QVERIFY(now > revision);
    m_spilling.faults->set(Fault::Fails);
    fill(*writer, 0, 100);
    RR_DONE(store->records({}, list)); // as known, and what waits
    QCOMPARE(list.size(), std::size_t(2));
    RR_DONE(store->records("REC", list));
    QCOMPARE(list.size(), std::size_t(1));
    QVERIFY(list[0].uuid == uuid);
    QVERIFY(store->remove(uuid).error == StoreError::InUse);
    QVERIFY(store->remove(before).error == StoreError::Unreachable);
    m_spilling.faults->set(Fault::None);
    RR_DONE(writer->close(0));
    writer.reset();
    QVERIFY(waitForDraining(*store));
    RR_DONE(store->remove(before));
    RR_DONE(store->remove(uuid));
}

void TestSpillingStore::aDeletedRecordDoesNotComeBack()
{
    const auto store = openStore();
    std::string uuid;
    auto writer = begin(*store, uuid);
    fill(*writer, 0, 100);
    m_spilling.faults->set(Fault::Fails);
    fill(*writer, 100, 200);
    QCOMPARE(journals().size(), 1);
    // Another recorder takes ours for dead, and a person deletes the record there.
    RR_DONE(m_spilling.last->closeByAnother(uuid));
    {
        EmbeddedOptions options;
        options.directory = m_spilling.place().toStdString();
        StoreResult result;
        const auto other = openEmbeddedStore(options, result);
        RR_DONE(result);
        RR_DONE(other->remove(uuid));
    }
    m_spilling.faults->set(Fault::None);
    QTRY_VERIFY_WITH_TIMEOUT(journals().isEmpty(), 10'000);
    QVERIFY(said("was deleted from the database"));
    fill(*writer, 200, 300);
    QVERIFY(writer->close(0).error == StoreError::NotFound);
    writer.reset();
    std::vector<RecordSummary> list;
    RR_DONE(store->records({}, list));
    QVERIFY(list.empty());
    QVERIFY(journals().isEmpty());
}

void TestSpillingStore::aRecordClosedByAnotherRecorderGetsItsTrueEnd()
{
    const auto store = openStore();
    std::string uuid;
    auto writer = begin(*store, uuid);
    fill(*writer, 0, 1'000);
    m_spilling.faults->set(Fault::Fails);
    fill(*writer, 1'000, 2'000);
    RR_DONE(m_spilling.last->closeByAnother(uuid));
    m_spilling.faults->set(Fault::None);
    fill(*writer, 2'000, 3'000);
    RR_DONE(writer->close(7'000));
    writer.reset();
    QVERIFY(waitForDraining(*store));
    checkAccounts(*store, uuid, 3'000, 0);
    const auto reader = read(*store, uuid);
    QCOMPARE(reader->facts().durationUs, 7'000);
    QVERIFY(reader->facts().completeness.isComplete());
}

void TestSpillingStore::beyondTheBoundEventsAreCountedAsLost()
{
    m_spilling.limitBytes = 500'000;
    const auto store = openStore();
    std::string uuid;
    auto writer = begin(*store, uuid);
    fill(*writer, 0, 1'000, 100);
    m_spilling.faults->set(Fault::Fails);
    for (int i = 1; i < 20; ++i) {
        fill(*writer, i * 1'000, (i + 1) * 1'000, 100);
    }
    QTRY_VERIFY(said("of at most 488 KiB"));
    QVERIFY(said("Events were lost"));
    RR_DONE(writer->close(0));
    writer.reset();
    m_spilling.faults->set(Fault::None);
    QVERIFY(waitForDraining(*store));
    checkAccounts(*store, uuid, 20'000, 100);
    const Completeness completeness = read(*store, uuid)->facts().completeness;
    QVERIFY(completeness.lost() > 10'000 && completeness.stored() > 3'000);
    QCOMPARE(completeness.remarks.size(), std::size_t(1));
    QVERIFY(completeness.remarks[0].find("Events were lost") != std::string::npos);
    for (const OutputCompleteness& output : completeness.outputs) {
        QVERIFY(output.lostStore > 0 && output.lostNetwork == 0);
    }
}

void TestSpillingStore::afterTheBoundTheRecordingGoesOn()
{
    m_spilling.limitBytes = 200'000;
    const auto store = openStore();
    std::string uuid;
    auto writer = begin(*store, uuid);
    m_spilling.faults->set(Fault::Fails);
    fill(*writer, 0, 5'000, 100);
    RR_DONE(writer->define("late", "{}"));
    fill(*writer, 5'000, 6'000, 100);
    m_spilling.faults->set(Fault::None);
    const QDeadlineTimer deadline(10'000);
    std::int64_t produced = 6'000;
    while (!journals().isEmpty() && !deadline.hasExpired()) {
        fill(*writer, produced, produced + 10, 100);
        produced += 10;
        QThread::msleep(5);
    }
    fill(*writer, produced, produced + 1'000, 100);
    RR_DONE(writer->close(0));
    writer.reset();
    QVERIFY(waitForDraining(*store));
    checkAccounts(*store, uuid, static_cast<std::uint64_t>(produced + 1'000), 100);
    const auto reader = read(*store, uuid);
    const std::vector<Event> events = eventsOf(*reader);
    QCOMPARE(events.back().timeUs, produced + 999);
    QCOMPARE(reader->definitions().size(), std::size_t(1)); // came when there was no room
    QVERIFY(reader->facts().completeness.lost() > 1'000);
}

void TestSpillingStore::aFullLocalDiskIsSurvived()
{
    const QString disk = m_under.place() + "/disk";
    QVERIFY(QDir().mkpath(disk));
    if (::geteuid() != 0 || ::mount("tmpfs", disk.toUtf8().constData(), "tmpfs", 0, "size=4m") != 0) {
        QSKIP("A full disk needs a small tmpfs, which only root may mount.");
    }
    struct Unmounter
    {
        QByteArray path;
        ~Unmounter() { ::umount2(path.constData(), MNT_DETACH); }
    } const unmounter { disk.toUtf8() };
    m_spilling.journals = disk;
    std::string uuid;
    std::uint64_t events = 0;
    {
        const auto store = openStore();
        auto writer = begin(*store, uuid);
        fill(*writer, 0, 1'000, 100);
        m_spilling.faults->set(Fault::Fails);
        for (int i = 1; i < 40; ++i) {
            fill(*writer, i * 1'000, (i + 1) * 1'000, 100);
        }
        QVERIFY(said("No space left"));
        RR_DONE(writer->close(50'000)); // how much was lost finds room
        const Completeness completeness = writer->completeness();
        QVERIFY(completeness.lost() > 10'000);
        events = completeness.stored();
    }
    // It is stored by the next recorder.
    m_spilling.faults->set(Fault::None);
    const auto store = openStore();
    QVERIFY(waitForDraining(*store));
    checkAccounts(*store, uuid, 40'000, 100);
    const auto reader = read(*store, uuid);
    QCOMPARE(reader->facts().completeness.stored(), events);
    QCOMPARE(reader->facts().durationUs, 50'000);
}

void TestSpillingStore::aKillLosesAtMostASecond_data()
{
    QTest::addColumn<int>("afterMs");
    for (const int afterMs : { 1'300, 2'050 }) {
        QTest::addRow("killed after %d ms", afterMs) << afterMs;
    }
}

// Several recorders at once, each with a database of its own that does something else to it.
void TestSpillingStore::aKillLosesAtMostASecond()
{
    QFETCH(int, afterMs);
    struct Victim
    {
        const char* plan;
        QString place = {};
        std::string uuid = newRecordUuid();
        std::unique_ptr<Child> child = nullptr;
        std::int64_t atLeast = 0;
    };
    Victim victims[] = { { "none:500,fails:60000" }, { "none:500,hangs:60000" }, { "none:800,fails:500,slow:60000" },
        { "fails:60000" }, { "none:300,random:60000" } };
    const auto start = [](const char* plan, const QString& place, const std::string& uuid, const char* burst) {
        qputenv(planVariable, plan);
        auto child = std::make_unique<Child>(
            QStringList { "--child", place, QString::fromStdString(uuid), burst, "100000000" });
        qunsetenv(planVariable);
        return child;
    };
    for (Victim& victim : victims) {
        victim.place = m_under.place() + '/' + QString::fromStdString(victim.uuid);
        QVERIFY(QDir().mkpath(victim.place));
        victim.child = start(victim.plan, victim.place, victim.uuid, "200");
    }
    for (Victim& victim : victims) {
        QVERIFY(victim.child->waitForLine());
    }
    QThread::msleep(static_cast<unsigned long>(afterMs)); // the moment is the test's parameter
    for (Victim& victim : victims) {
        victim.child->kill();
        const QByteArray lines = victim.child->output();
        victim.atLeast = appendedBy(lines, lastSeen(lines) - 1'000'000);
    }
    // The next recorders are killed too, while they bring the journals into the databases.
    for (Victim& victim : victims) {
        victim.child.reset();
        m_under.usePlace(victim.place);
        if (!journals().isEmpty()) {
            victim.child = start("slow:60000", victim.place, newRecordUuid(), "1");
        }
    }
    for (Victim& victim : victims) {
        if (victim.child) {
            QVERIFY(victim.child->waitForLine());
            victim.child->kill();
        }
    }
    for (const Victim& victim : victims) {
        m_under.usePlace(victim.place);
        RR_CHECKED(checkKilled(victim.uuid, victim.atLeast));
    }
}

void TestSpillingStore::checkKilled(const std::string& uuid, std::int64_t atLeast)
{
    const auto store = openStore();
    QVERIFY(waitForDraining(*store));
    const auto reader = read(*store, uuid);
    const std::vector<Event> events = eventsOf(*reader);
    QVERIFY2(static_cast<std::int64_t>(events.size()) >= atLeast,
        (std::to_string(events.size()) + " of at least " + std::to_string(atLeast)).c_str());
    for (std::size_t i = 0; i < events.size(); ++i) {
        QVERIFY(events[i] == numbered(static_cast<std::int64_t>(i), events[i].timeUs));
    }
    QCOMPARE(reader->facts().completeness.stored(), events.size());
    QCOMPARE(reader->initialValues().size(), std::size_t(1));
    QVERIFY(reader->facts().durationUs >= events.back().timeUs);
    QVERIFY(reader->facts().durationUs < events.back().timeUs + 2'000'000);
    // It says that it was not closed, and nothing else: what waited has come.
    QCOMPARE(reader->facts().completeness.remarks.size(), std::size_t(1));
    QCOMPARE(reader->facts().completeness.lost(), 0U);
}

void TestSpillingStore::aRecordThatWasClosedInItsJournalIsClosedAfterARestart()
{
    std::string uuid;
    {
        const auto store = openStore();
        auto writer = begin(*store, uuid);
        fill(*writer, 0, 500);
        m_spilling.faults->set(Fault::Fails);
        fill(*writer, 500, 1'000);
        RR_DONE(writer->close(9'000));
    }
    QCOMPARE(journals().size(), 1);
    QVERIFY(said("a part waits in"));
    const auto store = openStore(); // still not there
    std::vector<RecordSummary> list;
    RR_DONE(store->records({}, list));
    QCOMPARE(list.size(), std::size_t(1));
    QVERIFY(!list[0].isRecording);
    QCOMPARE(list[0].durationUs, 9'000);
    m_spilling.faults->set(Fault::None);
    QVERIFY(waitForDraining(*store));
    checkAccounts(*store, uuid, 1'000, 0);
    const auto reader = read(*store, uuid);
    QCOMPARE(reader->facts().durationUs, 9'000);
    QVERIFY(reader->facts().completeness.isComplete());
}

void TestSpillingStore::aDamagedJournalIsReported()
{
    std::string uuid;
    {
        const auto store = openStore();
        auto writer = begin(*store, uuid);
        fill(*writer, 0, 500);
        m_spilling.faults->set(Fault::Fails);
        for (int i = 1; i < 6; ++i) {
            fill(*writer, i * 500, (i + 1) * 500);
        }
        RR_DONE(writer->close(0));
    }
    QFile journal(QDir(m_spilling.journalDirectory()).filePath(journals().at(0)));
    QVERIFY(journal.open(QIODevice::ReadWrite));
    const QByteArray all = journal.readAll();
    qsizetype third = all.indexOf("RRSF");
    for (int i = 0; i < 3; ++i) {
        third = all.indexOf("RRSF", third + 1);
    }
    QVERIFY(journal.seek(third + 200) && journal.write("damage") == 6);
    journal.close();

    m_spilling.faults->set(Fault::None);
    const auto store = openStore();
    QVERIFY(waitForDraining(*store));
    const auto reader = read(*store, uuid);
    const std::vector<Event> events = eventsOf(*reader);
    QCOMPARE(events.size(), std::size_t(2'500));
    for (const Event& event : events) {
        QVERIFY(event == sized(event.timeUs, 0));
        QVERIFY(event.timeUs < 1'500 || event.timeUs >= 2'000);
    }
    const std::vector<std::string> remarks = reader->facts().completeness.remarks;
    QCOMPARE(remarks.size(), std::size_t(1));
    QVERIFY2(remarks[0].starts_with("500 events"), remarks[0].c_str());
    QVERIFY(said("500 events that waited"));
}

void TestSpillingStore::aDatabaseThatRefusesTheRecorderIsToldAtTheStart()
{
    m_spilling.faults->set(Fault::Refuses);
    StoreResult result;
    QVERIFY(!m_under.open(result));
    QVERIFY(result.error == StoreError::Refused);
    QVERIFY2(result.message.find("lets nobody in") != std::string::npos, result.message.c_str());
    // Who takes a running recorder's rights away loses nothing of what it records.
    m_spilling.faults->set(Fault::None);
    const auto store = openStore();
    std::string uuid;
    auto writer = begin(*store, uuid);
    fill(*writer, 0, 100);
    m_spilling.faults->set(Fault::Refuses);
    fill(*writer, 100, 200);
    QCOMPARE(journals().size(), 1);
    QTRY_VERIFY(said("goes into the journal"));
    QVERIFY(!said("was not reached yet"));
    m_spilling.faults->set(Fault::None);
    RR_DONE(writer->close(0));
    writer.reset();
    QVERIFY(waitForDraining(*store));
    checkAccounts(*store, uuid, 200, 0);
}

int main(int argc, char** argv)
{
    SpillingUnderTest store;
    if (const int status = childMain(argc, argv, store); status >= 0) {
        return status;
    }
    QCoreApplication application(argc, argv);
    TestSpillingStore test(store);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_spillingstore.moc"
