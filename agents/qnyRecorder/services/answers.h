// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "call.h"

#include <QDateTime>
#include <QStringList>

namespace recorder {

/// A call of one of a host's reply services.
struct Answer
{
    QByteArray agentUuid;
    const char* service;
    std::vector<Argument> arguments;
    std::optional<QByteArray> token;
};

/// Where answers leave for the network. Called from several threads; answers of one thread keep their order.
class AnswerSink
{
public:
    virtual ~AnswerSink() = default;
    virtual void send(const Answer& answer) = 0;
};

/// The state of the replay and of the recording, as a host that connects asks for it.
struct ReplayContext
{
    QString replayId; ///< record uuid or path; empty unless a replay is loaded
    QDateTime startDate;
    double durationSeconds = 0.0;
    double positionSeconds = 0.0;
    double speed = 1.0;
    bool isRunning = false;
    QStringList allAgents;
    QStringList replayedAgents; ///< empty: all
    QString recordId; ///< of the record being recorded; empty when none is
};

/// The reply services by name: one function each, so that no caller can get an argument list wrong.
class Answers
{
public:
    explicit Answers(AnswerSink& sink)
        : _sink(sink)
    {
    }

    void context(const Caller& to, const ReplayContext& context);
    void records(const Caller& to, const QByteArray& json);
    void recordUuid(const Caller& to, const QString& uuid);
    void recordingStopped(const Caller& to);
    void recordFilters(const Caller& to, bool everAccepted, const QString& text);
    void unloaded(const Caller& to);
    void loading(const Caller& to, double percent);
    void loaded(
        const Caller& to, const QString& id, const QDateTime& start, double durationSeconds, const QStringList& agents);
    void loadingFailed(const Caller& to, const QString& id, const QString& reason);
    void filterApplied(const Caller& to);
    void paused(const Caller& to);
    void movedTo(const Caller& to, double positionSeconds);
    void receiveExport(const Caller& to, const QString& recordUuid, int32_t nextBucket, const QByteArray& nextCursor,
        const QByteArray& content);
    void replayEnded(const Caller& to);

private:
    void send(const Caller& to, const char* service, std::vector<Argument> arguments = {});

    AnswerSink& _sink;
};

/// A JSON array of texts, as the hosts parse lists of agents.
QByteArray jsonOfNames(const QStringList& names);

} // namespace recorder
