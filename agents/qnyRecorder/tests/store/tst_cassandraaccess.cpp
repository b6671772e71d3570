// SPDX-License-Identifier: Apache-2.0
#include "cassandracluster.h"
#include "losses/lossrounds.h"
#include "losses/wire.h"
#include "store/cassandra/cassandrastore.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

using namespace recorder;
using namespace recorder::testing;

namespace {

// The store with the options of the moment.
class StoreWithOptions : public StoreUnderTest
{
public:
    void makeEmpty() override { }
    std::unique_ptr<Store> open(StoreResult& result, Store::MessageHandler onMessage = nullptr) override
    {
        CassandraOptions given = options;
        given.onMessage = std::move(onMessage);
        return openCassandraStore(given, result);
    }
    QString place() const override { return {}; }
    void usePlace(const QString&) override { }
    bool holdsAnythingOf(const std::string&) override { return true; }

    CassandraOptions options;
};

} // namespace

// Who is let in by a server that wants TLS and a password, and what the others are told.
class TestCassandraAccess : public LossRounds
{
    Q_OBJECT

public:
    explicit TestCassandraAccess(StoreWithOptions& store)
        : LossRounds(store)
        , m_store(store)
    {
    }

private slots:
    void initTestCase();
    void cleanup() { tellWhatWasSaid(); }
    void whoeverHasEverythingIsLetIn();
    void everyoneElseIsToldWhatToDo_data();
    void everyoneElseIsToldWhatToDo();
    void aStoreIsNotOpenedWhereWaitingDoesNotHelp();
    void aRecorderThatIsNotLetInLosesNothing_data();
    void aRecorderThatIsNotLetInLosesNothing();

private:
    CassandraOptions right() const;
    bool waitUntilStored(Store& store) override
    {
        const QDir journals(QString::fromStdString(m_store.options.journals.string()));
        return QTest::qWaitFor([&] { return journals.isEmpty(QDir::Files); }, 60'000)
            && LossRounds::waitUntilStored(store);
    }
    QString path(const char* name) const { return m_folder.filePath(QLatin1String(name)); }

    StoreWithOptions& m_store;
    CassandraCluster m_cluster;
    QTemporaryDir m_folder;
};

void TestCassandraAccess::initTestCase()
{
    QString why = CassandraCluster::whyNotAvailable();
    if (why.isEmpty()) {
        why = m_cluster.start({ .auth = true, .tls = true });
    }
    if (!why.isEmpty()) {
        QSKIP(qPrintable(why));
    }
    QFile file(path("no certificate.pem"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("no certificate") > 0);
}

CassandraOptions TestCassandraAccess::right() const
{
    CassandraOptions options;
    options.host = m_cluster.host().toStdString();
    options.port = m_cluster.port();
    options.user = m_cluster.user().toStdString();
    options.password = m_cluster.password().toStdString();
    options.keyspace = m_cluster.keyspace().toStdString();
    options.tls = true;
    options.tlsCaFile = m_cluster.caFile().toStdString();
    options.journals = m_folder.path().toStdString() + "/journals";
    return options;
}

void TestCassandraAccess::whoeverHasEverythingIsLetIn()
{
    StoreResult result;
    const auto store = openCassandraStore(right(), result);
    QVERIFY2(store, result.message.c_str());
    RecordFacts facts;
    facts.uuid = newRecordUuid();
    facts.name = "encrypted";
    std::unique_ptr<RecordWriter> writer;
    result = store->create(facts, writer);
    QVERIFY2(result, result.message.c_str());
    result = writer->close(0);
    QVERIFY2(result, result.message.c_str());
    std::vector<RecordSummary> list;
    result = store->records({}, list);
    QVERIFY2(result, result.message.c_str());
    QCOMPARE(list.size(), std::size_t(1));
}

void TestCassandraAccess::everyoneElseIsToldWhatToDo_data()
{
    using Change = std::function<void(CassandraOptions&)>;
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("mentions");
    const auto add = [](const char* name, Change change, const char* mentions) {
        QTest::newRow(name) << change << QString::fromLatin1(mentions);
    };
    add("wrong password", [](CassandraOptions& options) { options.password = "wrong"; }, "--cassandra_password");
    add("unknown user", [](CassandraOptions& options) { options.user = "nobody"; }, "\"nobody\"");
    add("no user", [](CassandraOptions& options) { options.user.clear(); }, "asks for a user");
    add("no TLS", [](CassandraOptions& options) { options.tls = false; }, "--tls");
    add("authorities of the system", [](CassandraOptions& options) { options.tlsCaFile.clear(); }, "--tls-ca");
    add(
        "no file of authorities",
        [this](CassandraOptions& options) { options.tlsCaFile = path("missing.pem").toStdString(); }, "missing.pem");
    add(
        "a file without authorities",
        [this](CassandraOptions& options) { options.tlsCaFile = path("no certificate.pem").toStdString(); }, "PEM");
    add(
        "a keyspace that may not be made", [](CassandraOptions& options) { options.keyspace = "elsewhere"; },
        "There is no keyspace \"elsewhere\"");
}

void TestCassandraAccess::everyoneElseIsToldWhatToDo()
{
    QFETCH(std::function<void(CassandraOptions&)>, change);
    QFETCH(QString, mentions);
    CassandraOptions options = right();
    change(options);
    const StoreResult result = makeCassandraDatabase(options)->connect();
    QVERIFY2(result.error == StoreError::Refused, result.message.c_str());
    QVERIFY2(QString::fromStdString(result.message).contains(mentions), result.message.c_str());
    QVERIFY2(!QString::fromStdString(result.message).contains('\n'), result.message.c_str());
}

void TestCassandraAccess::aStoreIsNotOpenedWhereWaitingDoesNotHelp()
{
    CassandraOptions options = right();
    options.password = "wrong";
    StoreResult result;
    QVERIFY(!openCassandraStore(options, result));
    QVERIFY(result.error == StoreError::Refused);
}

void TestCassandraAccess::aRecorderThatIsNotLetInLosesNothing_data()
{
    addRounds({ QStringLiteral("wrong password"), QStringLiteral("unknown keyspace"), QStringLiteral("no TLS") });
}

// Something waits on the recorder's own disk. The recorder is started again with an option that is wrong, and again
// while the database is out of reach, so that only its return shows it. Then with the right ones.
void TestCassandraAccess::aRecorderThatIsNotLetInLosesNothing()
{
    QFETCH(QString, store);
    beginRound();
    Wire wire(m_cluster.host().toStdString(), m_cluster.port());
    QVERIFY(wire.port() != 0);
    QTemporaryDir journals;
    CassandraOptions good = right();
    good.port = wire.port();
    good.journals = journals.path().toStdString();
    CassandraOptions wrong = good;
    std::string advice = "--tls";
    if (store == QLatin1String("wrong password")) {
        wrong.password = "wrong";
        advice = "--cassandra_password";
    } else if (store == QLatin1String("unknown keyspace")) {
        wrong.keyspace = "elsewhere";
        advice
            = "There is no keyspace \"elsewhere\" and it could not be made: make it, or give another with --keyspace";
    } else {
        wrong.tls = false;
    }
    // Each returns how much it produced.
    const auto recordForAWhile = [&](Store& opened, const std::function<void()>& inTheMiddle) {
        const auto producer = produce(opened);
        if (!producer) {
            return std::int64_t(0);
        }
        pause(100, 500);
        inTheMiddle();
        pause(500, 1'000);
        return producer->finish();
    };

    std::vector<std::pair<std::string, Account>> records;
    m_store.options = good;
    {
        const auto opened = openStore();
        QVERIFY(opened);
        const std::int64_t produced = recordForAWhile(*opened, [&] { wire.set(Wire::State::Cut); });
        records.push_back({ m_uuid, { .produced = produced } });
    }
    QVERIFY(!QDir(journals.path()).isEmpty(QDir::Files));
    wire.set(Wire::State::Whole);
    m_store.options = wrong;
    StoreResult refused;
    QVERIFY(!m_under.open(refused));
    QVERIFY2(refused.error == StoreError::Refused && refused.message.find(advice) != std::string::npos,
        refused.message.c_str());
    wire.set(Wire::State::Cut);
    {
        const auto opened = openStore();
        QVERIFY(opened);
        QVERIFY(wasSaid("out of reach"));
        const std::int64_t produced = recordForAWhile(*opened, [&] { wire.set(Wire::State::Whole); });
        records.push_back({ m_uuid, { .produced = produced } });
        QTRY_VERIFY_WITH_TIMEOUT(wasSaid(advice), 20'000);
        QVERIFY(wasSaid(journals.path().toStdString()));
    }
    m_store.options = good;
    const auto opened = openStore();
    QVERIFY(opened);
    QVERIFY(waitUntilStored(*opened));
    Account sum;
    for (auto& [uuid, account] : records) {
        QVERIFY(account.produced > 0);
        RR_CHECKED(check(*opened, uuid, account));
        sum.produced += account.produced;
        sum.stored += account.stored;
        sum.reported += account.reported;
        RR_DONE(opened->remove(uuid));
    }
    conclude(sum);
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    StoreWithOptions store;
    TestCassandraAccess test(store);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_cassandraaccess.moc"
