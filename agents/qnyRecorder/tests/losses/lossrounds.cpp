// SPDX-License-Identifier: Apache-2.0
#include "lossrounds.h"

#include <QDeadlineTimer>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <limits>

namespace recorder::testing {

namespace {

// All events, read from the beginning again while a database that was disturbed breaks off.
std::vector<Event> eventsOnceAnswered(RecordReader& reader)
{
    const QDeadlineTimer deadline(60'000);
    while (true) {
        std::vector<Event> events;
        StoreResult result;
        const std::unique_ptr<EventCursor> cursor
            = reader.events(0, std::numeric_limits<std::int64_t>::max(), result);
        if (cursor && readAll(*cursor, events)) {
            return events;
        }
        if (deadline.hasExpired()) {
            QTest::qFail((cursor ? cursor->result() : result).message.c_str(), __FILE__, __LINE__);
            return events;
        }
        QThread::msleep(500);
    }
}

} // namespace

void LossRounds::addRounds(const QStringList& stores)
{
    QTest::addColumn<QString>("store");
    QTest::addColumn<int>("seed");
    const int count = std::max(1, qEnvironmentVariableIntValue("RR_LOSS_ROUNDS"));
    const int first = std::max(1, qEnvironmentVariableIntValue("RR_LOSS_SEED"));
    for (const QString& store : stores) {
        for (int seed = first; seed < first + count; ++seed) {
            const QString name = store.isEmpty() ? QString() : store + QStringLiteral(", ");
            QTest::addRow("%sseed %d", qPrintable(name), seed) << store << seed;
        }
    }
}

void LossRounds::beginRound()
{
    QFETCH(int, seed);
    m_random.seed(static_cast<std::uint64_t>(seed));
    const std::lock_guard guard(m_mutex);
    m_said.clear();
}

void LossRounds::pause(int leastMs, int mostMs)
{
    QThread::msleep(static_cast<unsigned long>(between(leastMs, mostMs)));
}

// ---- stores and records -----------------------------------------------------------------------------------------

Store::MessageHandler LossRounds::listener()
{
    return [this](const std::string& message) {
        const std::lock_guard guard(m_mutex);
        m_said.push_back(message);
    };
}

std::unique_ptr<Store> LossRounds::openStore()
{
    StoreResult result;
    std::unique_ptr<Store> store = m_under.open(result, listener());
    if (!store) {
        QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
    }
    return store;
}

std::unique_ptr<Producer> LossRounds::produce(Store& store, std::size_t valueBytes)
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
    return std::make_unique<Producer>(std::move(writer), valueBytes);
}

std::string LossRounds::everythingSaid()
{
    const std::lock_guard guard(m_mutex);
    std::string all;
    for (const std::string& message : m_said) {
        all += message + '\n';
    }
    return all;
}

bool LossRounds::wasSaid(const std::string& words)
{
    return everythingSaid().find(words) != std::string::npos;
}

void LossRounds::tellWhatWasSaid()
{
    if (QTest::currentTestFailed()) {
        qInfo("the store said:\n%s", everythingSaid().c_str());
    }
}

// ---- accounts ---------------------------------------------------------------------------------------------------

bool LossRounds::waitUntilStored(Store& store)
{
    const QDeadlineTimer deadline(60'000);
    std::vector<RecordSummary> list;
    do {
        if (store.records({}, list)
            && std::none_of(list.begin(), list.end(), [](const RecordSummary& summary) { return summary.isOpen; })) {
            return true;
        }
        QThread::msleep(20);
    } while (!deadline.hasExpired());
    return false;
}

void LossRounds::check(Store& store, const std::string& uuid, Account& account, std::size_t valueBytes)
{
    std::unique_ptr<RecordReader> reader;
    StoreResult opened = store.open(uuid, reader);
    // A database that was disturbed may still find its feet.
    for (const QDeadlineTimer deadline(10'000); !opened && !deadline.hasExpired(); opened = store.open(uuid, reader)) {
        QThread::msleep(100);
    }
    RR_DONE(opened);
    const std::vector<Event> events = eventsOnceAnswered(*reader);
    std::int64_t next = 0;
    for (const Event& event : events) {
        const std::int64_t i = numberOf(event);
        QVERIFY2(i >= next, "an event is there twice, or out of order");
        QVERIFY2(event == numbered(i, event.timeUs, valueBytes), "an event is altered");
        next = i + 1;
    }
    const Completeness completeness = reader->facts().completeness;
    QCOMPARE(completeness.stored(), events.size());
    account.stored += static_cast<std::int64_t>(events.size());
    account.reported += static_cast<std::int64_t>(completeness.lost());
    // Killed: what came after the last stored event is what the last second may cost.
    account.inLastSecond = std::min(account.inLastSecond, std::max<std::int64_t>(0, account.produced - next));
    QVERIFY(events.empty() || reader->facts().durationUs >= events.back().timeUs);
}

void LossRounds::conclude(const Account& account)
{
    QFETCH(QString, store);
    QFETCH(int, seed);
    std::printf("loss-test: %s;%s;%d;%lld;%lld;%lld;%lld;%lld\n", QTest::currentTestFunction(), qPrintable(store), seed,
        static_cast<long long>(account.produced), static_cast<long long>(account.stored),
        static_cast<long long>(account.reported), static_cast<long long>(account.inLastSecond),
        static_cast<long long>(account.unexplained()));
    std::fflush(stdout);
    QCOMPARE(account.unexplained(), 0);
}

} // namespace recorder::testing
