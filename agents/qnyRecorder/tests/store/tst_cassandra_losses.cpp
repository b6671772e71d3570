// SPDX-License-Identifier: Apache-2.0
#include "cassandraundertest.h"
#include "childrecorder.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QThread>

#include <atomic>
#include <cstdio>
#include <random>

using namespace recorder;
using namespace recorder::testing;

namespace {

// What became of the events of one record.
struct Account
{
    std::int64_t produced = 0;
    std::int64_t stored = 0;
    std::int64_t reportedLost = 0;
    std::int64_t inLastSecond = 0; // before the recorder was killed
    std::int64_t unexplained() const { return produced - stored - reportedLost - inLastSecond; }
};

// Records as fast as a lively network would until it is told to end; then the record is closed.
class Producer
{
public:
    explicit Producer(std::unique_ptr<RecordWriter> writer)
        : m_writer(std::move(writer))
        , m_thread([this] { run(); })
    {
    }
    ~Producer() { (void)finish(); }

    std::int64_t produced() const { return m_count; }
    std::int64_t finish()
    {
        m_mustEnd = true;
        if (m_thread.joinable()) {
            m_thread.join();
        }
        return m_count;
    }

private:
    void run()
    {
        QElapsedTimer timer;
        timer.start();
        while (!m_mustEnd) {
            const std::int64_t timeUs = timer.nsecsElapsed() / 1'000;
            for (int i = 0; i < 100; ++i) {
                (void)m_writer->append(numbered(m_count++, timeUs).view());
            }
            (void)m_writer->tick(timeUs);
            QThread::usleep(5'000);
        }
        (void)m_writer->close(0);
        m_writer.reset();
    }

    std::unique_ptr<RecordWriter> m_writer;
    std::atomic<std::int64_t> m_count { 0 };
    std::atomic<bool> m_mustEnd { false };
    std::thread m_thread;
};

} // namespace

// Faults of a real database and of the recorder while it records. After each: what was produced is what is stored and
// what is reported as lost, and of a killed recorder what was not older than a second; nothing is there twice or
// altered. RR_LOSS_ROUNDS rounds of each fault, RR_LOSS_SEED the first one's seed; each prints a line for
// scripts/loss-test.
class TestCassandraLosses : public QObject
{
    Q_OBJECT

public:
    explicit TestCassandraLosses(CassandraUnderTest& under)
        : m_cassandra(under)
    {
    }

private slots:
    void initTestCase()
    {
        const QString why = m_cassandra.start({ .nodes = qEnvironmentVariableIntValue("RR_LOSS_NODES") == 3 ? 3 : 1 });
        if (!why.isEmpty()) {
            QSKIP(qPrintable(why));
        }
    }
    void init() { m_cassandra.makeEmpty(); }

    void theDatabaseIsDownAtTheStart_data() { rounds(); }
    void theDatabaseIsDownAtTheStart();
    void theDatabaseIsFrozen_data() { rounds(); }
    void theDatabaseIsFrozen();
    void theDatabaseIsKilledAndStartedAgain_data() { rounds(); }
    void theDatabaseIsKilledAndStartedAgain();
    void theRecorderIsKilledWhileItSpills_data() { rounds(); }
    void theRecorderIsKilledWhileItSpills();
    void theRecorderIsKilledWhileItDrains_data() { rounds(); }
    void theRecorderIsKilledWhileItDrains();
    void oneNodeOfThreeIsKilled_data() { rounds(); }
    void oneNodeOfThreeIsKilled();

private:
    void rounds()
    {
        QTest::addColumn<quint64>("seed");
        const int count = std::max(1, qEnvironmentVariableIntValue("RR_LOSS_ROUNDS"));
        const int first = std::max(1, qEnvironmentVariableIntValue("RR_LOSS_SEED"));
        for (int round = 0; round < count; ++round) {
            QTest::addRow("seed %d", first + round) << quint64(first + round);
        }
    }
    std::unique_ptr<Store> openStore()
    {
        StoreResult result;
        std::unique_ptr<Store> store = m_cassandra.open(result);
        if (!store) {
            QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
        }
        return store;
    }
    void pause(int leastMs, int mostMs) // the moment of a fault is what the seed decides
    {
        QThread::msleep(static_cast<unsigned long>(std::uniform_int_distribution<int>(leastMs, mostMs)(m_random)));
    }
    bool waitForDraining(Store& store, int milliseconds = 60'000)
    {
        const QDeadlineTimer deadline(milliseconds);
        std::vector<RecordSummary> list;
        do {
            if (QDir(m_cassandra.journals()).isEmpty() && store.records({}, list) && !list.empty()
                && std::none_of(
                    list.begin(), list.end(), [](const RecordSummary& summary) { return summary.isOpen; })) {
                return true;
            }
            QThread::msleep(20);
        } while (!deadline.hasExpired());
        return false;
    }
    std::unique_ptr<Producer> produce(Store& store)
    {
        std::unique_ptr<RecordWriter> writer;
        RecordFacts facts;
        facts.uuid = newRecordUuid();
        facts.name = "losses";
        facts.startUs = 1'700'000'000'000'000;
        m_uuid = facts.uuid;
        const StoreResult result = store.create(facts, writer);
        if (!result) {
            QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
            return nullptr;
        }
        return std::make_unique<Producer>(std::move(writer));
    }
    void account(Store& store, Account account);
    void killRecorder(bool whileItDrains);

    CassandraUnderTest& m_cassandra;
    std::mt19937_64 m_random;
    std::string m_uuid;
};

// Reads the record, checks it, and prints what became of its events.
void TestCassandraLosses::account(Store& store, Account account)
{
    std::unique_ptr<RecordReader> reader;
    StoreResult opened = store.open(m_uuid, reader);
    for (const QDeadlineTimer deadline(10'000); !opened && !deadline.hasExpired();
         opened = store.open(m_uuid, reader)) {
        QThread::msleep(100); // the database may still find its feet
    }
    RR_DONE(opened);
    const std::vector<Event> events = eventsOf(*reader);
    std::int64_t next = 0;
    for (const Event& event : events) {
        const std::int64_t i = event.value.view().integer;
        QVERIFY2(i >= next, "an event is there twice, or out of order");
        QVERIFY2(event == numbered(i, event.timeUs), "an event is altered");
        next = i + 1;
    }
    const Completeness completeness = reader->facts().completeness;
    QCOMPARE(completeness.stored(), events.size());
    account.stored = static_cast<std::int64_t>(events.size());
    account.reportedLost = static_cast<std::int64_t>(completeness.lost());
    // Killed: what came after the last stored event is what the last second may cost.
    account.inLastSecond = std::min(account.inLastSecond, std::max<std::int64_t>(0, account.produced - next));
    std::printf("loss-test: %s;%s;%lld;%lld;%lld;%lld;%lld\n", QTest::currentTestFunction(), QTest::currentDataTag(),
        static_cast<long long>(account.produced), static_cast<long long>(account.stored),
        static_cast<long long>(account.reportedLost), static_cast<long long>(account.inLastSecond),
        static_cast<long long>(account.unexplained()));
    std::fflush(stdout);
    QVERIFY(account.stored > 0);
    QCOMPARE(account.unexplained(), 0);
    QVERIFY(reader->facts().durationUs >= events.back().timeUs);
}

void TestCassandraLosses::theDatabaseIsDownAtTheStart()
{
    QFETCH(quint64, seed);
    m_random.seed(seed);
    m_cassandra.cluster().kill(1);
    const auto store = openStore();
    QVERIFY(store);
    const auto producer = produce(*store);
    QVERIFY(producer);
    pause(200, 2'000);
    std::vector<RecordSummary> list;
    RR_DONE(store->records({}, list));
    QVERIFY(list.size() == 1 && list[0].isRecording);
    QCOMPARE(m_cassandra.cluster().restart(1), QString());
    pause(200, 1'000);
    const std::int64_t produced = producer->finish();
    QVERIFY(waitForDraining(*store));
    account(*store, { .produced = produced });
}

void TestCassandraLosses::theDatabaseIsFrozen()
{
    QFETCH(quint64, seed);
    m_random.seed(seed);
    const auto store = openStore();
    QVERIFY(store);
    const auto producer = produce(*store);
    QVERIFY(producer);
    pause(100, 1'000);
    m_cassandra.cluster().freeze(1);
    pause(1'000, 4'000);
    m_cassandra.cluster().thaw(1);
    pause(100, 1'500);
    const std::int64_t produced = producer->finish();
    QVERIFY(waitForDraining(*store));
    account(*store, { .produced = produced });
}

void TestCassandraLosses::theDatabaseIsKilledAndStartedAgain()
{
    QFETCH(quint64, seed);
    m_random.seed(seed);
    const auto store = openStore();
    QVERIFY(store);
    const auto producer = produce(*store);
    QVERIFY(producer);
    pause(100, 1'000);
    m_cassandra.cluster().kill(1);
    pause(100, 1'500);
    QCOMPARE(m_cassandra.cluster().restart(1), QString());
    pause(100, 1'500);
    const std::int64_t produced = producer->finish();
    QVERIFY(waitForDraining(*store));
    account(*store, { .produced = produced });
}

void TestCassandraLosses::killRecorder(bool whileItDrains)
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
    const std::int64_t produced = appendedBy(lines, last);
    const auto store = openStore();
    QVERIFY(store);
    QVERIFY(waitForDraining(*store));
    account(*store, { .produced = produced, .inLastSecond = produced - appendedBy(lines, last - 1'000'000) });
}

void TestCassandraLosses::theRecorderIsKilledWhileItSpills()
{
    QFETCH(quint64, seed);
    m_random.seed(seed);
    killRecorder(false);
}

void TestCassandraLosses::theRecorderIsKilledWhileItDrains()
{
    QFETCH(quint64, seed);
    m_random.seed(seed);
    killRecorder(true);
}

void TestCassandraLosses::oneNodeOfThreeIsKilled()
{
    if (qEnvironmentVariableIntValue("RR_LOSS_NODES") != 3) {
        QSKIP("Three nodes take longer to start than a test may: scripts/loss-test does it.");
    }
    QFETCH(quint64, seed);
    m_random.seed(seed);
    const int node = 2 + static_cast<int>(m_random() % 2);
    const auto store = openStore();
    QVERIFY(store);
    const auto producer = produce(*store);
    QVERIFY(producer);
    pause(500, 1'500);
    m_cassandra.cluster().kill(node);
    pause(1'000, 4'000);
    QCOMPARE(m_cassandra.cluster().restart(node), QString());
    pause(500, 1'500);
    const std::int64_t produced = producer->finish();
    QVERIFY(waitForDraining(*store));
    account(*store, { .produced = produced });
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
