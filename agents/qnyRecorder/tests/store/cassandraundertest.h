// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cassandracluster.h"
#include "cassandratables.h"
#include "storesuite.h"

#include <QDeadlineTimer>
#include <QTemporaryDir>

namespace recorder::testing {

// The Cassandra store as a test meets it, on a server of the test's own.
class CassandraUnderTest : public StoreUnderTest
{
public:
    // Empty, or why there can be no server.
    QString start(const CassandraCluster::Options& wanted = CassandraCluster::Options())
    {
        const QString why = CassandraCluster::whyNotAvailable();
        m_nodes = wanted.nodes;
        return why.isEmpty() ? m_cluster.start(wanted) : why;
    }
    void makeEmpty() override
    {
        m_journals = std::make_unique<QTemporaryDir>();
        m_place = m_cluster.endpoint() + QStringLiteral("/record_and_replay") + m_journals->path();
        // A server that was disturbed may still find its feet.
        const QDeadlineTimer deadline(20'000);
        StoreResult result;
        do {
            result = m_tables.connect(options());
            if (result) {
                result = m_tables.makeEmpty();
            }
        } while (!result && !deadline.hasExpired());
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
    // Of its first bucket, where small records have everything.
    bool holdsAnythingOf(const std::string& uuid) override
    {
        const std::string first = " = '" + uuid + "' AND bucket = 0";
        for (const std::string& rows : { "records WHERE uuid = '" + uuid + '\'', "facts WHERE record = '" + uuid + '\'',
                 "buckets WHERE record" + first, "chunks WHERE record" + first, "states WHERE record" + first }) {
            if (m_tables.number("SELECT count(*) FROM " + rows) != 0) {
                return true;
            }
        }
        return false;
    }

    CassandraOptions options() const
    {
        CassandraOptions options;
        options.host = m_place.section(u':', 0, 0).toStdString();
        options.port = m_place.section(u':', 1).section(u'/', 0, 0).toUShort();
        options.keyspace = m_place.section(u'/', 1, 1).toStdString();
        options.journals = (u'/' + m_place.section(u'/', 2)).toStdString();
        options.replication = "SimpleStrategy:" + std::to_string(m_nodes);
        return options;
    }
    QString journals() const { return m_journals->path(); }
    CassandraTables& tables() { return m_tables; }
    CassandraCluster& cluster() { return m_cluster; }

private:
    CassandraCluster m_cluster;
    CassandraTables m_tables;
    std::unique_ptr<QTemporaryDir> m_journals;
    int m_nodes = 1; // with as many copies; the keyspace is made by the test's own process
    QString m_place; // "ADDRESS:PORT/KEYSPACE/FOLDER OF THE JOURNALS"
};

} // namespace recorder::testing
