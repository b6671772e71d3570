// SPDX-License-Identifier: Apache-2.0
#include "recorderclient.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QThread>

#include <quenary.h>

namespace {

struct Declared
{
    const char* service;
    QList<qny_value_type_t> arguments;
};

QVariant valueOf(const qny_service_arg_t& argument)
{
    switch (argument.type) {
    case QNY_BOOL_T:
        return argument.b;
    case QNY_INTEGER_T:
        return argument.i;
    case QNY_DOUBLE_T:
        return argument.d;
    case QNY_STRING_T:
        return QString::fromUtf8(argument.c);
    default:
        return {};
    }
}

void onReply(
    const char*, const char*, const char* service, qny_service_arg_t* first, size_t, const char* token, void* client)
{
    RecorderReply reply { QString::fromUtf8(service), {}, QString::fromUtf8(token) };
    for (const qny_service_arg_t* argument = first; argument != nullptr; argument = argument->next) {
        reply.arguments.append(valueOf(*argument));
    }
    static_cast<RecorderClient*>(client)->receive(reply);
}

const QList<Declared>& declaredReplies()
{
    static const QList<Declared> replies {
        { "context",
            { QNY_STRING_T, QNY_STRING_T, QNY_DOUBLE_T, QNY_DOUBLE_T, QNY_DOUBLE_T, QNY_BOOL_T, QNY_STRING_T,
                QNY_STRING_T, QNY_STRING_T } },
        { "records", { QNY_STRING_T } },
        { "record_uuid", { QNY_STRING_T } },
        { "recording_stopped", {} },
        { "record_filters", { QNY_BOOL_T, QNY_STRING_T } },
        { "unloaded", {} },
        { "loading", { QNY_DOUBLE_T } },
        { "loaded", { QNY_STRING_T, QNY_STRING_T, QNY_DOUBLE_T, QNY_STRING_T } },
        { "loading_failed", { QNY_STRING_T, QNY_STRING_T } },
        { "filter_applied", {} },
        { "paused", {} },
        { "moved_to", { QNY_DOUBLE_T } },
        { "receive_export", { QNY_STRING_T, QNY_INTEGER_T, QNY_STRING_T, QNY_STRING_T } },
        { "replay_ended", {} },
    };
    return replies;
}

} // namespace

RecorderClient::RecorderClient()
{
    for (const Declared& reply : declaredReplies()) {
        qny_service_init(reply.service, &onReply, this);
        for (const qny_value_type_t type : reply.arguments) {
            qny_service_arg_add(reply.service, "value", type);
        }
    }
}

RecorderClient::~RecorderClient()
{
    for (const Declared& reply : declaredReplies()) {
        qny_service_remove(reply.service);
    }
    qny_stop();
}

bool RecorderClient::start(quint16 port, QString* error)
{
    qny_options_t options;
    qny_options_init(&options);
    options.device = "lo";
    options.port = port;
    if (qny_start(&options) != QNY_SUCCESS) {
        *error = QString::fromUtf8(qny_last_error());
        return false;
    }
    return true;
}

bool RecorderClient::waitForAgent(const QString& name, bool isPresent, int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    while (qny_agent_is_present(name.toUtf8().constData()) != isPresent) {
        if (deadline.hasExpired()) {
            return false;
        }
        QThread::msleep(5);
    }
    return true;
}

bool RecorderClient::call(
    const QString& agent, const QString& service, const QVariantList& arguments, const QString& token)
{
    qny_service_arg_t* list = nullptr;
    for (const QVariant& argument : arguments) {
        switch (argument.typeId()) {
        case QMetaType::Bool:
            qny_service_args_add_bool(&list, argument.toBool());
            break;
        case QMetaType::Int:
            qny_service_args_add_int(&list, argument.toInt());
            break;
        case QMetaType::Double:
            qny_service_args_add_double(&list, argument.toDouble());
            break;
        default:
            qny_service_args_add_string(&list, argument.toString().toUtf8().constData());
            break;
        }
    }
    const QByteArray tokenText = token.toUtf8();
    return qny_service_call(agent.toUtf8().constData(), service.toUtf8().constData(), &list,
               token.isNull() ? nullptr : tokenText.constData())
        == QNY_SUCCESS;
}

std::optional<RecorderReply> RecorderClient::take(const QStringList& services, int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    QMutexLocker lock(&_mutex);
    for (;;) {
        while (!_replies.isEmpty()) {
            const RecorderReply reply = _replies.takeFirst();
            if (services.contains(reply.service)) {
                return reply;
            }
        }
        if (!_arrived.wait(&_mutex, deadline)) {
            return std::nullopt;
        }
    }
}

std::optional<QByteArray> RecorderClient::exportRecord(const QString& agent, const QString& recordUuid)
{
    QByteArray text;
    int bucket = 0;
    QString cursor = QStringLiteral("");
    for (bool isFirst = true;; isFirst = false) {
        if (!call(agent, "export", { recordUuid, bucket, cursor, -1, isFirst, false }, "client")) {
            return std::nullopt;
        }
        const std::optional<RecorderReply> reply = take({ "receive_export" });
        if (!reply || reply->arguments.size() != 4 || reply->arguments.at(0).toString().isEmpty()) {
            return std::nullopt;
        }
        text += reply->arguments.at(3).toString().toUtf8() + '\n';
        bucket = reply->arguments.at(1).toInt();
        cursor = reply->arguments.at(2).toString();
        if (cursor.isEmpty()) {
            return text;
        }
    }
}

void RecorderClient::receive(const RecorderReply& reply)
{
    const QMutexLocker lock(&_mutex);
    _replies.append(reply);
    _arrived.wakeAll();
}
