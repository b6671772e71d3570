// SPDX-License-Identifier: Apache-2.0
#include "childrecorder.h"

#include "store/store.h"
#include "storesuite.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

#include <chrono>
#include <cstdio>
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

} // namespace

Event numbered(std::int64_t i, std::int64_t timeUs)
{
    return { timeUs, "agent", "o" + std::to_string(i % 10), ValueView::fromInteger(static_cast<std::int32_t>(i)) };
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
    if (argc < 2 || std::string_view(argv[1]) != "--child") {
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
    return recordUntilKilled(
        *opened, arguments.at(3).toStdString(), arguments.at(4).toLongLong(), arguments.at(5).toLongLong());
}

} // namespace recorder::testing
