// SPDX-License-Identifier: Apache-2.0
#include "cassandracluster.h"
#include "cassandratables.h"
#include "storesuite.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

using namespace recorder;
using namespace recorder::testing;

namespace {

class CassandraUnderTest : public StoreUnderTest
{
public:
    // Empty, or why there can be no server.
    QString start()
    {
        const QString why = CassandraCluster::whyNotAvailable();
        return why.isEmpty() ? m_cluster.start() : why;
    }
    void makeEmpty() override
    {
        m_journals = std::make_unique<QTemporaryDir>();
        m_place = m_cluster.endpoint() + QStringLiteral("/record_and_replay") + m_journals->path();
        StoreResult result = m_tables.connect(options());
        if (result) {
            result = m_tables.makeEmpty();
        }
        if (!result) {
            QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
        }
    }
    std::unique_ptr<Store> open(StoreResult& result, Store::MessageHandler onMessage = nullptr) override
    {
        CassandraOptions given = options();
        given.onMessage = std::move(onMessage);
        return openCassandraStore(given, result);
    }
    QString place() const override { return m_place; }
    void usePlace(const QString& place) override { m_place = place; }

    CassandraOptions options() const
    {
        CassandraOptions options;
        options.host = m_place.section(u':', 0, 0).toStdString();
        options.port = m_place.section(u':', 1).section(u'/', 0, 0).toUShort();
        options.keyspace = m_place.section(u'/', 1, 1).toStdString();
        options.journals = (u'/' + m_place.section(u'/', 2)).toStdString();
        return options;
    }
    CassandraTables& tables() { return m_tables; }

private:
    CassandraCluster m_cluster;
    CassandraTables m_tables;
    std::unique_ptr<QTemporaryDir> m_journals;
    QString m_place; // "ADDRESS:PORT/KEYSPACE/FOLDER OF THE JOURNALS"
};

} // namespace

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
};

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
