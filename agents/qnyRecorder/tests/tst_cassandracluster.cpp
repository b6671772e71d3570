// SPDX-License-Identifier: Apache-2.0
#include "cassandracluster.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTcpSocket>
#include <QTest>

#include <csignal>

using recorder::testing::CassandraCluster;

namespace {

bool isRunning(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/stat").arg(pid));
    return status.open(QIODevice::ReadOnly) && !status.readAll().contains(") Z ");
}

// Asks for the server's options, the one thing that it tells without a password. True when it answers in time.
bool answers(QTcpSocket& socket, int milliseconds)
{
    socket.write(QByteArray::fromHex("040000000500000000"));
    const QDeadlineTimer deadline(milliseconds);
    while (socket.bytesAvailable() < 9 && !deadline.hasExpired() && socket.state() == QAbstractSocket::ConnectedState) {
        socket.waitForReadyRead(50);
    }
    const QByteArray answer = socket.readAll();
    return answer.size() >= 9 && static_cast<uchar>(answer.at(0)) == 0x84 && answer.at(4) == 0x06;
}

bool answers(const CassandraCluster& cluster, int milliseconds)
{
    QTcpSocket socket;
    socket.connectToHost(cluster.host(), cluster.port());
    return socket.waitForConnected(milliseconds) && answers(socket, milliseconds);
}

} // namespace

// The test server itself: what other tests take for granted.
class TestCassandraCluster : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const QString why = CassandraCluster::whyNotAvailable();
        if (!why.isEmpty()) {
            QSKIP(qPrintable(why));
        }
    }

    void aNodeCanBeFrozenKilledAndStartedAgain()
    {
        CassandraCluster cluster;
        QCOMPARE(cluster.start(), QString());
        QVERIFY(answers(cluster, 5'000));
        cluster.freeze(1);
        QVERIFY(!answers(cluster, 300));
        cluster.thaw(1);
        QVERIFY(answers(cluster, 5'000));
        const qint64 first = cluster.pid(1);
        cluster.kill(1);
        QVERIFY(!isRunning(first));
        QVERIFY(!answers(cluster, 300));
        QCOMPARE(cluster.restart(1), QString());
        QVERIFY(cluster.pid(1) != first);
        QVERIFY(answers(cluster, 5'000));
        const qint64 last = cluster.pid(1);
        cluster.stop();
        QVERIFY(!isRunning(last));
    }

    void aServerWithTlsAndPasswordsSpeaksToNobodyElse()
    {
        CassandraCluster cluster;
        QCOMPARE(cluster.start({ .auth = true, .tls = true }), QString());
        QVERIFY(!cluster.user().isEmpty() && !cluster.password().isEmpty() && !cluster.keyspace().isEmpty());
        QVERIFY(!answers(cluster, 300)); // in plain text
        QSslSocket socket;
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setCaCertificates(QSslCertificate::fromPath(cluster.caFile()));
        QVERIFY(!configuration.caCertificates().isEmpty());
        socket.setSslConfiguration(configuration);
        socket.connectToHostEncrypted(cluster.host(), cluster.port());
        QVERIFY2(socket.waitForEncrypted(10'000), qPrintable(socket.errorString()));
        QVERIFY(answers(socket, 5'000));
    }

    void noNodeOutlivesTheScript()
    {
        QProcess script;
        script.start(QStringLiteral(RR_CASSANDRA_SCRIPT), { QStringLiteral("start") });
        qint64 pid = 0;
        const QDeadlineTimer deadline(60'000);
        while (pid == 0) {
            QVERIFY(!deadline.hasExpired());
            script.waitForReadyRead(100);
            while (script.canReadLine()) {
                const QList<QByteArray> fact = script.readLine().trimmed().split(' ');
                pid = fact.at(0) == "node" ? fact.at(2).toLongLong() : pid;
            }
        }
        QVERIFY(isRunning(pid));
        script.kill();
        script.waitForFinished();
        QTRY_VERIFY_WITH_TIMEOUT(!isRunning(pid), 10'000);
    }
};

QTEST_GUILESS_MAIN(TestCassandraCluster)
#include "tst_cassandracluster.moc"
