// SPDX-License-Identifier: Apache-2.0
#include "producer.h"

#include "../store/childrecorder.h"

#include <QElapsedTimer>
#include <QThread>

namespace recorder::testing {

Producer::Producer(std::unique_ptr<RecordWriter> writer, std::size_t valueBytes)
    : m_writer(std::move(writer))
    , m_valueBytes(valueBytes)
    , m_thread([this] { run(); })
{
}

std::int64_t Producer::finish()
{
    m_mustEnd = true;
    if (m_thread.joinable()) {
        m_thread.join();
    }
    return m_count;
}

void Producer::run()
{
    QElapsedTimer timer;
    timer.start();
    while (!m_mustEnd && m_fullness) {
        const std::int64_t timeUs = timer.nsecsElapsed() / 1'000;
        for (int i = 0; i < 100 && m_fullness; ++i) {
            const StoreResult result = m_writer->append(numbered(m_count++, timeUs, m_valueBytes).view());
            m_fullness = result.error == StoreError::Full ? result : m_fullness;
        }
        if (const StoreResult result = m_writer->tick(timeUs); result.error == StoreError::Full) {
            m_fullness = result;
        }
        QThread::usleep(5'000);
    }
    (void)m_writer->close(0);
    m_completeness = m_writer->completeness();
    m_writer.reset();
    m_hasEnded = true;
}

} // namespace recorder::testing
