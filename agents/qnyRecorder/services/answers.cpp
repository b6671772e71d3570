// SPDX-License-Identifier: Apache-2.0
#include "answers.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace recorder {

namespace {

Argument text(const QString& value)
{
    return value.toUtf8();
}

Argument date(const QDateTime& value)
{
    return value.isValid() ? value.toString(Qt::ISODateWithMs).toUtf8() : QByteArray();
}

} // namespace

QByteArray jsonOfNames(const QStringList& names)
{
    return QJsonDocument(QJsonArray::fromStringList(names)).toJson(QJsonDocument::Compact);
}

void Answers::send(const Caller& to, const char* service, std::vector<Argument> arguments)
{
    _sink.send(Answer { to.agentUuid, service, std::move(arguments), to.token });
}

void Answers::context(const Caller& to, const ReplayContext& context)
{
    const bool isLoaded = !context.replayId.isEmpty();
    send(to, "context",
        { text(context.replayId), date(context.startDate), context.durationSeconds, context.positionSeconds,
            context.speed, context.isRunning,
            isLoaded ? Argument(jsonOfNames(context.allAgents)) : Argument(QByteArray("[]")),
            jsonOfNames(context.replayedAgents), text(context.recordId) });
}

void Answers::records(const Caller& to, const QByteArray& json)
{
    send(to, "records", { json });
}

void Answers::recordUuid(const Caller& to, const QString& uuid)
{
    send(to, "record_uuid", { text(uuid) });
}

void Answers::recordingStopped(const Caller& to)
{
    send(to, "recording_stopped");
}

void Answers::recordFilters(const Caller& to, bool everAccepted, const QString& filters)
{
    send(to, "record_filters", { everAccepted, text(filters) });
}

void Answers::unloaded(const Caller& to)
{
    send(to, "unloaded");
}

void Answers::loading(const Caller& to, double percent)
{
    send(to, "loading", { percent });
}

void Answers::loaded(
    const Caller& to, const QString& id, const QDateTime& start, double durationSeconds, const QStringList& agents)
{
    send(to, "loaded", { text(id), date(start), durationSeconds, jsonOfNames(agents) });
}

void Answers::loadingFailed(const Caller& to, const QString& id, const QString& reason)
{
    send(to, "loading_failed", { text(id), text(reason) });
}

void Answers::filterApplied(const Caller& to)
{
    send(to, "filter_applied");
}

void Answers::paused(const Caller& to)
{
    send(to, "paused");
}

void Answers::movedTo(const Caller& to, double positionSeconds)
{
    send(to, "moved_to", { positionSeconds });
}

void Answers::receiveExport(const Caller& to, const QString& recordUuid, int32_t nextBucket,
    const QByteArray& nextCursor, const QByteArray& content)
{
    send(to, "receive_export", { text(recordUuid), nextBucket, nextCursor, content });
}

void Answers::replayEnded(const Caller& to)
{
    send(to, "replay_ended");
}

} // namespace recorder
