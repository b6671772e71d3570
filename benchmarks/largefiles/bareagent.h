// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <quenary.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>

#include <condition_variable>
#include <mutex>

/// The network alone: an agent that exchanges the same chunks with a scripted recorder as the module does, and does
/// nothing with them.
class BareAgent
{
public:
    BareAgent();
    ~BareAgent();
    BareAgent(const BareAgent&) = delete;
    BareAgent& operator=(const BareAgent&) = delete;

    /// Asks for a record chunk by chunk until it is whole. The seconds that it took; -1 when an answer does not come.
    double exportFrom(const QByteArray& recorder);
    /// Sends each chunk when the one before is acknowledged.
    double importInto(const QByteArray& recorder, const QList<QByteArray>& chunks);

private:
    static void onExport(const char* senderName, const char* senderUuid, const char* service, qny_service_arg_t* first,
        size_t count, const char* token, void* self);
    static void onAcknowledgement(const char* senderName, const char* senderUuid, const char* service,
        qny_service_arg_t* first, size_t count, const char* token, void* self);
    void _askForChunk(int32_t bucket, const char* cursor);
    void _sendChunk();
    void _end();
    double _run(void (BareAgent::*begin)());
    void _beginExport();

    qny_agent_t* const _agent;
    QByteArray _recorder;
    QList<QByteArray> _chunks;
    qsizetype _nextChunk = 0;
    std::mutex _mutex;
    std::condition_variable _ended;
    bool _isEnded = false;
};
