// SPDX-License-Identifier: Apache-2.0
#include "childrecorder.h"

#include "store/store.h"
#include "storesuite.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QThread>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <unistd.h>

namespace recorder::testing {

namespace {

std::int64_t monotonicUs()
{
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

bool parentIsGone()
{
    pollfd input { STDIN_FILENO, POLLIN, 0 };
    return ::poll(&input, 1, 0) > 0;
}

// Records one event after another, in bursts, and says after each burst up to which one it came and when.
int recordUntilKilled(Store& store, const std::string& uuid, std::int64_t burst, std::int64_t most)
{
    RecordFacts facts;
    facts.uuid = uuid;
    facts.name = "child " + uuid;
    facts.startUs = 1'700'000'000'000'000;
    std::unique_ptr<RecordWriter> writer;
    if (const StoreResult result = store.create(facts, writer); !result) {
        std::fprintf(stderr, "%s\n", result.message.c_str());
        return 1;
    }
    (void)writer->setInitial("agent", "o0", ValueView::fromInteger(-1));
    const std::int64_t beganUs = monotonicUs();
    std::int64_t count = 0;
    while (!parentIsGone() && count < most) {
        const std::int64_t timeUs = monotonicUs() - beganUs;
        for (std::int64_t i = 0; i < burst; ++i) {
            if (const StoreResult result = writer->append(numbered(count++, timeUs).view()); !result) {
                std::fprintf(stderr, "%s\n", result.message.c_str());
                return 1;
            }
        }
        (void)writer->tick(timeUs);
        std::printf("%lld %lld\n", static_cast<long long>(count), static_cast<long long>(monotonicUs()));
        std::fflush(stdout);
        QThread::usleep(2'000);
    }
    const StoreResult result = writer->close(0);
    std::printf("closed\n");
    return result ? 0 : 1;
}

void say(const char* what, const std::string& which)
{
    std::printf("%s %s\n", what, which.c_str());
    std::fflush(stdout);
}

int importUntilKilled(Store& store, const QString& path, std::size_t rows)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return 1;
    }
    csv::Import import(store, "child's copy");
    say("importing", import.uuid());
    std::int64_t events = 0;
    for (const std::string& chunk : moduleChunks(file.readAll().toStdString(), rows)) {
        events += eventRowsIn(chunk);
        say("feeding", std::to_string(events));
        if (const StoreResult result = import.feed(chunk); !result) {
            std::fprintf(stderr, "%s\n", result.message.c_str());
            return 1;
        }
        say("fed", std::to_string(events));
    }
    return 0;
}

int deleteUntilKilled(Store& store, const QStringList& uuids)
{
    for (const QString& uuid : uuids) {
        say("deleting", uuid.toStdString());
        if (const StoreResult result = store.remove(uuid.toStdString()); !result) {
            std::fprintf(stderr, "%s\n", result.message.c_str());
            return 1;
        }
        say("deleted", uuid.toStdString());
    }
    while (!parentIsGone()) {
        QThread::msleep(10); // the space is given back meanwhile
    }
    return 0;
}

} // namespace

Event numbered(std::int64_t i, std::int64_t timeUs, std::size_t valueBytes)
{
    std::string output = "o" + std::to_string(i % 10);
    if (valueBytes == 0) {
        return { timeUs, "agent", std::move(output), ValueView::fromInteger(static_cast<std::int32_t>(i)) };
    }
    return { timeUs, "agent", std::move(output),
        ValueView::fromString(std::to_string(i) + std::string(valueBytes, '.')) };
}

std::int64_t numberOf(const Event& event)
{
    const ValueView value = event.value.view();
    return value.type == ValueType::String ? std::atoll(std::string(value.bytes).c_str()) : value.integer;
}

std::int64_t eventRowsIn(const std::string& rows)
{
    std::int64_t count = 0;
    for (std::size_t at = rows.find(";output;"); at != std::string::npos; at = rows.find(";output;", at + 1)) {
        ++count;
    }
    return count;
}

Child::Child(const QStringList& arguments)
{
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(QCoreApplication::applicationFilePath(), arguments);
}

bool Child::waitForLine(int milliseconds)
{
    const QDeadlineTimer deadline(milliseconds);
    while (!m_process.canReadLine() && !deadline.hasExpired() && m_process.state() != QProcess::NotRunning) {
        m_process.waitForReadyRead(100);
    }
    return m_process.canReadLine();
}

bool Child::waitForLines(int count)
{
    const QDeadlineTimer deadline(20'000);
    while (m_read.count('\n') < count && !deadline.hasExpired() && waitForLine()) {
        m_read += m_process.readLine();
    }
    return m_read.count('\n') >= count;
}

QByteArray Child::output()
{
    return std::exchange(m_read, QByteArray()) + m_process.readAllStandardOutput();
}

void Child::kill()
{
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished();
    }
}

bool Child::finish(int milliseconds)
{
    m_process.closeWriteChannel();
    return m_process.waitForFinished(milliseconds) && m_process.exitCode() == 0;
}

std::int64_t appendedBy(const QByteArray& lines, std::int64_t momentUs)
{
    std::int64_t count = 0;
    for (const QByteArray& line : lines.split('\n')) {
        const QList<QByteArray> parts = line.split(' ');
        if (parts.size() == 2 && parts[1].toLongLong() <= momentUs) {
            count = parts[0].toLongLong();
        }
    }
    return count;
}

std::int64_t lastSeen(const QByteArray& lines)
{
    const QByteArray whole = lines.left(lines.lastIndexOf('\n'));
    return whole.mid(whole.lastIndexOf(' ') + 1).toLongLong();
}

int childMain(int argc, char** argv, StoreUnderTest& store)
{
    const std::string_view task(argc < 2 ? "" : argv[1]);
    if (task != "--child" && task != "--import" && task != "--delete") {
        return -1;
    }
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    store.usePlace(arguments.at(2));
    StoreResult result;
    const std::unique_ptr<Store> opened = store.open(result);
    if (!opened) {
        std::fprintf(stderr, "%s\n", result.message.c_str());
        return 1;
    }
    if (task == "--import") {
        return importUntilKilled(*opened, arguments.at(3), arguments.at(4).toULongLong());
    }
    if (task == "--delete") {
        return deleteUntilKilled(*opened, arguments.at(3).split(QLatin1Char(',')));
    }
    return recordUntilKilled(
        *opened, arguments.at(3).toStdString(), arguments.at(4).toLongLong(), arguments.at(5).toLongLong());
}

} // namespace recorder::testing
