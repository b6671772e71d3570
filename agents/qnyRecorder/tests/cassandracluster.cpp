// SPDX-License-Identifier: Apache-2.0
#include "cassandracluster.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QThread>

#include <algorithm>
#include <csignal>

namespace recorder::testing {

namespace {

constexpr int START_MS = 300'000; // of one node on a busy machine, or fetching the server
constexpr int END_MS = 20'000;

// Whether all threads of a process are in one of the states.
bool isIn(const QString& states, pid_t process)
{
    const QString folder = QStringLiteral("/proc/%1/task/").arg(process);
    const QStringList threads = QDir(folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    return std::all_of(threads.begin(), threads.end(), [&](const QString& thread) {
        QFile file(folder + thread + QStringLiteral("/stat"));
        if (!file.open(QIODevice::ReadOnly)) {
            return true; // gone
        }
        const QByteArray text = file.readAll();
        const qsizetype name = text.lastIndexOf(") ");
        return name >= 0 && name + 2 < text.size() && states.contains(QLatin1Char(text.at(name + 2)));
    });
}

void waitUntilIn(const QString& states, pid_t process)
{
    const QDeadlineTimer deadline(END_MS);
    while (!isIn(states, process) && !deadline.hasExpired()) {
        QThread::msleep(5);
    }
}

} // namespace

QString CassandraCluster::whyNotAvailable()
{
    QProcess script;
    script.start(QStringLiteral(RR_CASSANDRA_SCRIPT), { QStringLiteral("available") });
    if (!script.waitForFinished(START_MS)) {
        return QStringLiteral(RR_CASSANDRA_SCRIPT " cannot be started: ") + script.errorString();
    }
    return script.exitCode() == 0 ? QString() : QString::fromUtf8(script.readAllStandardError()).trimmed();
}

CassandraCluster::~CassandraCluster()
{
    stop();
}

QString CassandraCluster::start(const Options& options)
{
    QStringList arguments = { QStringLiteral("start"), QStringLiteral("--nodes"), QString::number(options.nodes) };
    if (options.auth) {
        arguments += QStringLiteral("--auth");
    }
    if (options.tls) {
        arguments += QStringLiteral("--tls");
    }
    if (options.isDurable) {
        arguments += QStringLiteral("--durable");
    }
    m_script.start(QStringLiteral(RR_CASSANDRA_SCRIPT), arguments);
    return readUntil(QStringLiteral("ready"));
}

QString CassandraCluster::restart(int node)
{
    m_script.write(QStringLiteral("start-node %1\n").arg(node).toUtf8());
    return readUntil(QStringLiteral("node"));
}

// Takes in the facts up to and including the first of that kind.
QString CassandraCluster::readUntil(const QString& what)
{
    for (;;) {
        const QDeadlineTimer deadline(START_MS);
        while (!m_script.canReadLine()) {
            if (m_script.state() == QProcess::NotRunning || deadline.hasExpired()) {
                const QString reason = QString::fromUtf8(m_script.readAllStandardError()).trimmed();
                return reason.isEmpty() ? QStringLiteral("the test server did not start in time") : reason;
            }
            m_script.waitForReadyRead(100);
        }
        const QStringList fact = QString::fromUtf8(m_script.readLine()).trimmed().split(QLatin1Char(' '));
        const QString& kind = fact.at(0);
        if (kind == QLatin1String("node")) {
            m_pids[fact.at(1).toInt()] = fact.at(2).toLongLong();
        } else if (kind == QLatin1String("endpoint")) {
            m_host = fact.at(1).section(QLatin1Char(':'), 0, 0);
            m_port = fact.at(1).section(QLatin1Char(':'), 1).toUShort();
        } else if (kind == QLatin1String("ca")) {
            m_caFile = fact.at(1);
        } else if (kind == QLatin1String("user")) {
            m_user = fact.at(1);
            m_password = fact.at(2);
        } else if (kind == QLatin1String("keyspace")) {
            m_keyspace = fact.at(1);
        }
        if (kind == what) {
            return {};
        }
    }
}

void CassandraCluster::freeze(int node)
{
    const auto process = static_cast<pid_t>(pid(node));
    ::kill(process, SIGSTOP);
    // On a busy machine it goes on for a moment, long enough to answer.
    waitUntilIn(QStringLiteral("T"), process);
}

void CassandraCluster::thaw(int node)
{
    ::kill(static_cast<pid_t>(pid(node)), SIGCONT);
}

void CassandraCluster::kill(int node)
{
    const auto process = static_cast<pid_t>(m_pids.take(node));
    if (process <= 0) {
        return;
    }
    ::kill(process, SIGKILL);
    // It is the script's child: gone is what the script has collected, or what runs no more.
    waitUntilIn(QStringLiteral("ZX"), process);
}

void CassandraCluster::stop()
{
    if (m_script.state() == QProcess::NotRunning) {
        return;
    }
    m_script.closeWriteChannel();
    if (!m_script.waitForFinished(END_MS)) {
        m_script.kill();
        m_script.waitForFinished();
    }
    m_pids.clear();
}

} // namespace recorder::testing
