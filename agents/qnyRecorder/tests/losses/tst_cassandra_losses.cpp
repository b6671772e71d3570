// SPDX-License-Identifier: Apache-2.0
#include "../smalldisk.h"
#include "../store/cassandraundertest.h"
#include "lossrounds.h"
#include "wire.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

using namespace recorder;
using namespace recorder::testing;

// Faults of a real database, and of the recorder while it records into one, and what becomes of every event then.
class TestCassandraLosses : public LossRounds
{
    Q_OBJECT

public:
    explicit TestCassandraLosses(CassandraUnderTest& under)
        : LossRounds(under)
        , m_cassandra(under)
    {
    }

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void theDatabaseIsDownAtTheStart_data() { addRounds(); }
    void theDatabaseIsDownAtTheStart();
    void theDatabaseIsFrozen_data() { addRounds(); }
    void theDatabaseIsFrozen();
    void theDatabaseIsKilledAndStartedAgain_data() { addRounds(); }
    void theDatabaseIsKilledAndStartedAgain();
    void everyWriteIsDoneAndNotAnswered_data() { addRounds(); }
    void everyWriteIsDoneAndNotAnswered();
    void theDiskOfTheJournalBecomesFull_data() { addRounds(); }
    void theDiskOfTheJournalBecomesFull();
    void theRecorderIsKilledWhileItRecords_data() { addRounds(); }
    void theRecorderIsKilledWhileItRecords() { killWhileItRecords(); }
    void theRecorderIsKilledWhileItSpills_data() { addRounds(); }
    void theRecorderIsKilledWhileItSpills() { killWhileFrozen(false); }
    void theRecorderIsKilledWhileItDrains_data() { addRounds(); }
    void theRecorderIsKilledWhileItDrains() { killWhileFrozen(true); }
    void theRecorderIsKilledWhileItImports_data() { addRounds(); }
    void theRecorderIsKilledWhileItImports() { killWhileItImports(); }
    void theRecorderIsKilledWhileItDeletes_data() { addRounds(); }
    void theRecorderIsKilledWhileItDeletes() { killWhileItDeletes(); }
    void oneNodeOfThreeIsKilled_data() { addRounds(); }
    void oneNodeOfThreeIsKilled();

private:
    bool waitUntilStored(Store& store) override
    {
        const QDeadlineTimer deadline(60'000);
        while (!QDir(m_cassandra.journals()).isEmpty() && !deadline.hasExpired()) {
            QThread::msleep(20);
        }
        return LossRounds::waitUntilStored(store);
    }
    // Ends the recording, waits until the database has it, and accounts for it.
    void finish(Store& store, Producer& producer, std::size_t valueBytes = 0);
    void killWhileFrozen(bool whileItDrains);
    void useWire(const Wire& wire)
    {
        const QString rest = m_cassandra.place().section(QLatin1Char('/'), 1);
        m_cassandra.usePlace(
            QStringLiteral("%1:%2/%3").arg(m_cassandra.cluster().host(), QString::number(wire.port()), rest));
    }

    CassandraUnderTest& m_cassandra;
};

void TestCassandraLosses::initTestCase()
{
    const QString why = m_cassandra.start(
        { .nodes = qEnvironmentVariableIntValue("RR_LOSS_NODES") == 3 ? 3 : 1, .isDurable = true });
    if (!why.isEmpty()) {
        QSKIP(qPrintable(why));
    }
}

void TestCassandraLosses::init()
{
    m_cassandra.makeEmpty();
    beginRound();
}

void TestCassandraLosses::cleanup()
{
    tellWhatWasSaid();
    m_cassandra.cluster().thaw(1); // whatever a round left behind
    if (m_cassandra.cluster().pid(1) == 0) {
        QCOMPARE(m_cassandra.cluster().restart(1), QString());
    }
}

void TestCassandraLosses::finish(Store& store, Producer& producer, std::size_t valueBytes)
{
    Account account { .produced = producer.finish() };
    QVERIFY(waitUntilStored(store));
    RR_CHECKED(check(store, m_uuid, account, valueBytes));
    QVERIFY(account.stored > 0);
    conclude(account);
}

void TestCassandraLosses::theDatabaseIsDownAtTheStart()
{
    m_cassandra.cluster().kill(1);
    const auto store = openStore();
    QVERIFY(store);
    QVERIFY(wasSaid("nobody listens there; start it, or check the address"));
    QVERIFY(wasSaid("What is recorded meanwhile waits in " + m_cassandra.journals().toStdString()));
    const auto producer = produce(*store);
    QVERIFY(producer);
    pause(200, 2'000);
    std::vector<RecordSummary> list;
    RR_DONE(store->records({}, list));
    QVERIFY(list.size() == 1 && list[0].isRecording);
    QCOMPARE(m_cassandra.cluster().restart(1), QString());
    pause(200, 1'000);
    finish(*store, *producer);
}

void TestCassandraLosses::theDatabaseIsFrozen()
{
    const auto store = openStore();
    QVERIFY(store);
    const auto producer = produce(*store);
    QVERIFY(producer);
    pause(100, 1'000);
    m_cassandra.cluster().freeze(1);
    pause(1'000, 3'000);
    m_cassandra.cluster().thaw(1);
    pause(100, 1'500);
    finish(*store, *producer);
}

void TestCassandraLosses::theDatabaseIsKilledAndStartedAgain()
{
    const auto store = openStore();
    QVERIFY(store);
    const auto producer = produce(*store);
    QVERIFY(producer);
    pause(100, 1'000);
    m_cassandra.cluster().kill(1);
    pause(100, 1'500);
    QCOMPARE(m_cassandra.cluster().restart(1), QString());
    pause(100, 1'500);
    RR_CHECKED(finish(*store, *producer));
    QVERIFY(wasSaid("goes into the journal"));
    QVERIFY(wasSaid("The database takes writes again"));
}

// From before the record is made or from its middle, to its end or before.
void TestCassandraLosses::everyWriteIsDoneAndNotAnswered()
{
    Wire wire(m_cassandra.cluster().host().toStdString(), m_cassandra.cluster().port());
    QVERIFY(wire.port() != 0);
    useWire(wire);
    const auto store = openStore();
    QVERIFY(store);
    const bool isFromTheStart = between(0, 3) == 0;
    if (isFromTheStart) {
        wire.set(Wire::State::Deaf);
    }
    const auto producer = produce(*store);
    QVERIFY(producer);
    if (!isFromTheStart) {
        pause(0, 1'000);
        wire.set(Wire::State::Deaf);
    }
    pause(1'500, 3'000);
    const bool isToTheEnd = between(0, 3) == 0;
    if (isToTheEnd) {
        (void)producer->finish();
    }
    wire.set(Wire::State::Whole);
    pause(100, 1'000);
    RR_CHECKED(finish(*store, *producer));
    QVERIFY(wasSaid("goes into the journal"));
    QVERIFY(wasSaid("did not answer"));
}

void TestCassandraLosses::theDiskOfTheJournalBecomesFull()
{
    const std::string size = "size=" + std::to_string(between(3'000, 6'000)) + 'k';
    const SmallDisk disk(m_cassandra.journals().toStdString(), size.c_str());
    if (!disk.isMounted()) {
        QSKIP("A full disk needs a small tmpfs, which only root may mount.");
    }
    Wire wire(m_cassandra.cluster().host().toStdString(), m_cassandra.cluster().port());
    QVERIFY(wire.port() != 0);
    useWire(wire);
    const auto store = openStore();
    QVERIFY(store);
    const auto valueBytes = static_cast<std::size_t>(between(200, 2'000));
    const auto producer = produce(*store, valueBytes);
    QVERIFY(producer);
    pause(100, 500);
    wire.set(Wire::State::Cut);
    QTRY_VERIFY_WITH_TIMEOUT(wasSaid("No space left on device"), 30'000);
    QVERIFY(wasSaid("or make room for the journals in " + m_cassandra.journals().toStdString()));
    pause(0, 1'000);
    wire.set(Wire::State::Whole);
    pause(0, 1'000);
    finish(*store, *producer, valueBytes);
}

void TestCassandraLosses::killWhileFrozen(bool whileItDrains)
{
    m_uuid = newRecordUuid();
    Child child({ "--child", m_cassandra.place(), QString::fromStdString(m_uuid), "200", "100000000" });
    QVERIFY(child.waitForLine());
    pause(300, 1'000);
    m_cassandra.cluster().freeze(1);
    pause(1'500, 3'000);
    if (whileItDrains) {
        m_cassandra.cluster().thaw(1);
        pause(0, 1'500);
    }
    child.kill();
    m_cassandra.cluster().thaw(1);
    const QByteArray lines = child.output();
    const std::int64_t last = lastSeen(lines);
    Account account { .produced = appendedBy(lines, last) };
    account.inLastSecond = account.produced - appendedBy(lines, last - 1'000'000);
    const auto store = openStore();
    QVERIFY(store);
    QVERIFY(waitUntilStored(*store));
    RR_CHECKED(check(*store, m_uuid, account));
    account.produced = std::max(account.produced, account.stored); // of the burst that was not told of any more
    QVERIFY(account.stored > 0);
    conclude(account);
}

void TestCassandraLosses::oneNodeOfThreeIsKilled()
{
    if (qEnvironmentVariableIntValue("RR_LOSS_NODES") != 3) {
        QSKIP("Three nodes take longer to start than a test may: scripts/loss-test does it.");
    }
    const int node = between(2, 3);
    const auto store = openStore();
    QVERIFY(store);
    const auto producer = produce(*store);
    QVERIFY(producer);
    pause(500, 1'500);
    m_cassandra.cluster().kill(node);
    pause(1'000, 3'000);
    QCOMPARE(m_cassandra.cluster().restart(node), QString());
    pause(500, 1'500);
    finish(*store, *producer);
}

int main(int argc, char** argv)
{
    CassandraUnderTest store;
    if (const int status = childMain(argc, argv, store); status >= 0) {
        return status;
    }
    QCoreApplication application(argc, argv);
    TestCassandraLosses test(store);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_cassandra_losses.moc"
