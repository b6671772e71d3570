// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QHash>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace recorder::testing {

// A real Cassandra of a test's own: scripts/cassandra, with what a test does to its nodes. It ends with this object,
// and when the test's process dies.
class CassandraCluster
{
public:
    struct Options
    {
        int nodes = 1;
        bool auth = false;
        bool tls = false;
        bool isDurable = false; // a node that is killed has everything that it acknowledged
    };

    // Empty when there can be one here, else why not: for QSKIP.
    static QString whyNotAvailable();

    CassandraCluster() = default;
    ~CassandraCluster();
    CassandraCluster(const CassandraCluster&) = delete;
    CassandraCluster& operator=(const CassandraCluster&) = delete;

    // Takes 5 to 10 seconds a node; the first time on a machine the server is fetched as well. Each of these returns
    // what went wrong, or nothing.
    [[nodiscard]] QString start(const Options& options);
    [[nodiscard]] QString start() { return start(Options()); }
    // Starts a node again that was killed, on its data.
    [[nodiscard]] QString restart(int node);

    // Of node 1: what a recorder is given.
    QString host() const { return m_host; }
    quint16 port() const { return m_port; }
    QString endpoint() const { return QStringLiteral("%1:%2").arg(m_host).arg(m_port); }
    // With TLS.
    QString caFile() const { return m_caFile; }
    // With authentication: a role that may do everything in the keyspace below and makes no keyspaces.
    QString user() const { return m_user; }
    QString password() const { return m_password; }
    QString keyspace() const { return m_keyspace; }
    qint64 pid(int node) const { return m_pids.value(node); }

    // The nodes count from 1. A frozen node takes connections and says nothing.
    void freeze(int node);
    void thaw(int node);
    // At once, as a power failure; returns when it is gone.
    void kill(int node);
    // The end of all nodes and their data.
    void stop();

private:
    QString readUntil(const QString& what);

    QProcess m_script;
    QHash<int, qint64> m_pids;
    QString m_host;
    quint16 m_port = 0;
    QString m_caFile;
    QString m_user;
    QString m_password;
    QString m_keyspace;
};

} // namespace recorder::testing
