// SPDX-License-Identifier: Apache-2.0
#include "cassandracluster.h"
#include "store/cassandra/cassandrastore.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

using namespace recorder;
using recorder::testing::CassandraCluster;

// Who is let in by a server that wants TLS and a password, and what the others are told.
class TestCassandraAccess : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void whoeverHasEverythingIsLetIn();
    void everyoneElseIsToldWhatToDo_data();
    void everyoneElseIsToldWhatToDo();
    void aStoreIsNotOpenedWhereWaitingDoesNotHelp();

private:
    CassandraOptions right() const;
    QString path(const char* name) const { return m_folder.filePath(QLatin1String(name)); }

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

QTEST_GUILESS_MAIN(TestCassandraAccess)
#include "tst_cassandraaccess.moc"
