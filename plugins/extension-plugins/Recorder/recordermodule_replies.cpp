// SPDX-License-Identifier: Apache-2.0
#include "recordermodule_replies.h"

#include "livingmodules.h"
#include "recordermodule.h"

#include <QtCore/QDebug>

#include <vector>

// The services by which recorder agents answer. Their callbacks run on the network library's thread: each checks what
// came, builds Qt values of it and emits a signal of the module; nothing of the module is touched here.

namespace {

// ---- arguments --------------------------------------------------------------------------------------------------

struct ReplyArgument
{
    const char* name;
    qny_value_type_t type;
    // What is logged when the argument is of another type.
    const char* mismatch;
};

// What came with a call, and who sent it.
struct Reply
{
    const char* senderName;
    const char* senderUuid;
    const char* service;
    const qny_service_arg_t* first;
    size_t count;
    const char* token;

    // `index` of an argument that was checked.
    const qny_service_arg_t& argument(size_t index) const
    {
        const qny_service_arg_t* argument = first;
        while (index-- > 0) {
            argument = argument->next;
        }
        return *argument;
    }
    QString string(size_t index) const { return QString::fromUtf8(argument(index).c); }
    QString recorderId() const { return QString::fromUtf8(token); }
};

bool hasArguments(const Reply& reply, const std::vector<ReplyArgument>& expected, const char* countMismatch)
{
    if (reply.count != expected.size()) {
        qWarning("%s", countMismatch);
        return false;
    }
    const qny_service_arg_t* argument = reply.first;
    for (const ReplyArgument& expectedArgument : expected) {
        if (!argument || argument->type != expectedArgument.type) {
            qWarning("%s", expectedArgument.mismatch);
            return false;
        }
        argument = argument->next;
    }
    return true;
}

const std::vector<ReplyArgument> CONTEXT_ARGUMENTS = {
    { "replayId", QNY_STRING_T, "'context' reply: first argument is not a string" },
    { "replayStartDateTime", QNY_STRING_T, "'context' reply: second argument is not a string" },
    { "replayDuration", QNY_DOUBLE_T, "'context' reply: third argument is not a double" },
    { "replayProgress", QNY_DOUBLE_T, "'context' reply: fourth argument is not a double" },
    { "replaySpeed", QNY_DOUBLE_T, "'context' reply: fifth argument is not a double" },
    { "replayIsRunning", QNY_BOOL_T, "'context' reply: sixth argument is not a boolean" },
    { "replayAllAgents", QNY_STRING_T, "'context' reply: seventh argument is not a string" },
    { "replayAgentsFilter", QNY_STRING_T, "'context' reply: eighth argument is not a string" },
    { "recordId", QNY_STRING_T, "'context' reply: nineth argument is not a string" },
};
const std::vector<ReplyArgument> RECORDS_ARGUMENTS = {
    { "records_list", QNY_STRING_T, "'records' reply: first argument is not a string" },
};
const std::vector<ReplyArgument> RECORD_UUID_ARGUMENTS = {
    { "uuid", QNY_STRING_T, "'record_uuid' reply: first argument is not a string" },
};
const std::vector<ReplyArgument> RECORD_FILTERS_ARGUMENTS = {
    { "loaded_from_file", QNY_BOOL_T, "'record_filters' reply: first argument is not a bool" },
    { "filters", QNY_STRING_T, "'record_filters' reply: second argument is not a string" },
};
const std::vector<ReplyArgument> LOADING_ARGUMENTS = {
    { "loading_progress", QNY_DOUBLE_T, "'loading' reply: first argument is not a double" },
};
// The texts of the last two are what users' logs are searched for, wrong as they are.
const std::vector<ReplyArgument> LOADED_ARGUMENTS = {
    { "record_uuid", QNY_STRING_T, "'loaded' reply: first argument is not a string" },
    { "start_date", QNY_STRING_T, "'loaded' reply: second argument is not a string" },
    { "duration", QNY_DOUBLE_T, "'loaded' reply: third argument is not a string" },
    { "agents_list", QNY_STRING_T, "'context' reply: fourth argument is not a string" },
};
const std::vector<ReplyArgument> LOADING_FAILED_ARGUMENTS = {
    { "record_uuid", QNY_STRING_T, "loading_failed reply: first argument is not a string" },
    { "error_reason", QNY_STRING_T, "loading_failed reply: second argument is not a string" },
};
const std::vector<ReplyArgument> MOVED_TO_ARGUMENTS = {
    { "duration", QNY_DOUBLE_T, "'moved_to' reply: first argument is not a double" },
};
const std::vector<ReplyArgument> RECEIVE_EXPORT_ARGUMENTS = {
    { "record_uuid", QNY_STRING_T, "'receive_export' reply: first argument is not a string" },
    { "next_bucket_id", QNY_INTEGER_T, "'receive_export' reply: second argument is not a integer" },
    { "next_uuid", QNY_STRING_T, "'receive_export' reply: third argument is not a string" },
    { "content", QNY_STRING_T, "'receive_export' reply: fourth argument is not a string" },
};
const std::vector<ReplyArgument> NO_ARGUMENTS;

// ---- callbacks --------------------------------------------------------------------------------------------------

void qnyReply_context(const Reply& reply, RecorderModule& module)
{
    if (!hasArguments(reply, CONTEXT_ARGUMENTS, "'context' reply: invalid number of arguments")) {
        return;
    }
    Q_EMIT module.contextReceived(reply.recorderId(), reply.string(0),
        QDateTime::fromString(reply.string(1), Qt::ISODateWithMs), reply.argument(2).d, reply.argument(3).d,
        reply.argument(4).d, reply.argument(5).b, reply.string(6), reply.string(7), reply.string(8));
}

void qnyReply_records(const Reply& reply, RecorderModule& module)
{
    if (hasArguments(reply, RECORDS_ARGUMENTS, "'records' reply: invalid number of arguments")) {
        Q_EMIT module.recordsReceived(reply.recorderId(), reply.string(0));
    }
}

// Answers "record", "import" and "append": the token says which.
void qnyReply_recordUuid(const Reply& reply, RecorderModule& module)
{
    if (!hasArguments(reply, RECORD_UUID_ARGUMENTS, "'record_uuid' reply: invalid number of arguments")) {
        return;
    }
    const QString token = QString::fromUtf8(reply.token);
    if (!token.contains(RecorderInstance::TOKEN_SEPARATOR)) {
        qWarning("'record_uuid' reply: No action sent");
        return;
    }
    const QStringList parts = token.split(RecorderInstance::TOKEN_SEPARATOR, Qt::KeepEmptyParts);
    if (parts.size() != 2) {
        qWarning() << "'record_uuid' reply: Wrong composition of token :" << token;
        return;
    }
    const QString& recorderId = parts.at(0);
    const QString& action = parts.at(1);
    if (action == QLatin1StringView("record")) {
        Q_EMIT module.recordingIsStarted(recorderId, reply.string(0));
    } else if (action == QLatin1StringView("import")) {
        Q_EMIT module.importReceived(recorderId, reply.string(0));
    } else {
        qWarning() << "'record_uuid' reply: Action sent is not correct :" << action;
    }
}

void qnyReply_recordingStopped(const Reply& reply, RecorderModule& module)
{
    if (hasArguments(reply, NO_ARGUMENTS, "'recording_stopped' reply: invalid number of arguments")) {
        Q_EMIT module.recordingStoppedReceived(reply.recorderId());
    }
}

void qnyReply_recordFilters(const Reply& reply, RecorderModule& module)
{
    if (hasArguments(reply, RECORD_FILTERS_ARGUMENTS, "'record_filters' reply: invalid number of arguments")) {
        Q_EMIT module.recordFiltersReceived(reply.recorderId(), reply.argument(0).b, reply.string(1));
    }
}

// The module unloads without waiting, so there is nothing to learn from this.
void qnyReply_unloaded(const Reply&, RecorderModule&) { }

void qnyReply_loading(const Reply& reply, RecorderModule& module)
{
    if (hasArguments(reply, LOADING_ARGUMENTS, "'loading' reply: invalid number of arguments")) {
        Q_EMIT module.loadingProgess(reply.recorderId(), reply.argument(0).d);
    }
}

void qnyReply_loaded(const Reply& reply, RecorderModule& module)
{
    if (hasArguments(reply, LOADED_ARGUMENTS, "'loaded' reply: invalid number of arguments")) {
        Q_EMIT module.recordLoaded(reply.recorderId(), reply.string(0),
            QDateTime::fromString(reply.string(1), Qt::ISODateWithMs), reply.argument(2).d, reply.string(3));
    }
}

void qnyReply_loading_failed(const Reply& reply, RecorderModule& module)
{
    if (hasArguments(reply, LOADING_FAILED_ARGUMENTS, "loading_failed reply: invalid number of arguments")) {
        Q_EMIT module.recordLoadingFailed(reply.recorderId(), reply.string(0), reply.string(1));
    }
}

void qnyReply_filterApplied(const Reply& reply, RecorderModule& module)
{
    Q_EMIT module.recordFilterApplied(reply.recorderId());
}

void qnyReply_paused(const Reply& reply, RecorderModule& module)
{
    Q_EMIT module.recordPaused(reply.recorderId());
}

void qnyReply_movedTo(const Reply& reply, RecorderModule& module)
{
    if (hasArguments(reply, MOVED_TO_ARGUMENTS, "'moved_to' reply: invalid number of arguments")) {
        Q_EMIT module.recordMovedTo(reply.recorderId(), reply.argument(0).d);
    }
}

void qnyReply_receiveExport(const Reply& reply, RecorderModule& module)
{
    if (hasArguments(reply, RECEIVE_EXPORT_ARGUMENTS, "'receive_export' reply: invalid number of arguments")) {
        Q_EMIT module.exportReceived(
            reply.recorderId(), reply.string(0), reply.argument(1).i, reply.string(2), reply.string(3));
    }
}

void qnyReply_replayEnded(const Reply& reply, RecorderModule& module)
{
    Q_EMIT module.replayEnded(QString::fromUtf8(reply.senderName), QString::fromUtf8(reply.senderUuid));
}

// What the library calls for each of the above. A reply to a module that is gone is dropped.
template <void (*callback)(const Reply&, RecorderModule&)>
void receive(const char* senderName, const char* senderUuid, const char* service, qny_service_arg_t* first,
    size_t count, const char* token, void* userData)
{
    const Reply reply { senderName, senderUuid, service, first, count, token };
    LivingModules::with(userData, [&reply](RecorderModule& module) { callback(reply, module); });
}

// ---- services ---------------------------------------------------------------------------------------------------

struct ReplyService
{
    const char* name;
    qny_service_fn callback;
    const std::vector<ReplyArgument>& arguments;
    bool isRemovedWithModule = true;
};

const ReplyService REPLY_SERVICES[] = {
    { "context", receive<qnyReply_context>, CONTEXT_ARGUMENTS },
    { "records", receive<qnyReply_records>, RECORDS_ARGUMENTS },
    { "record_uuid", receive<qnyReply_recordUuid>, RECORD_UUID_ARGUMENTS },
    { "recording_stopped", receive<qnyReply_recordingStopped>, NO_ARGUMENTS },
    { "record_filters", receive<qnyReply_recordFilters>, RECORD_FILTERS_ARGUMENTS },
    { "unloaded", receive<qnyReply_unloaded>, NO_ARGUMENTS },
    { "loading", receive<qnyReply_loading>, LOADING_ARGUMENTS },
    { "loaded", receive<qnyReply_loaded>, LOADED_ARGUMENTS },
    { "loading_failed", receive<qnyReply_loading_failed>, LOADING_FAILED_ARGUMENTS, false },
    { "filter_applied", receive<qnyReply_filterApplied>, NO_ARGUMENTS },
    { "paused", receive<qnyReply_paused>, NO_ARGUMENTS },
    { "moved_to", receive<qnyReply_movedTo>, MOVED_TO_ARGUMENTS },
    { "receive_export", receive<qnyReply_receiveExport>, RECEIVE_EXPORT_ARGUMENTS },
    { "replay_ended", receive<qnyReply_replayEnded>, NO_ARGUMENTS },
};

// The instance that a progress input belongs to.
QString recorderIdOfInput(const char* inputName)
{
    return QString::fromUtf8(inputName).split(RecorderInstance::INPUT_SEPARATOR).value(0);
}

} // namespace

void qnyInput_recordProgress(
    qny_io_kind_t, const char* name, qny_value_type_t type, void* value, size_t, void* userData)
{
    if (type != QNY_DOUBLE_T || !value) {
        return;
    }
    LivingModules::with(userData, [&](RecorderModule& module) {
        Q_EMIT module.recordingProgressReceived(recorderIdOfInput(name), *static_cast<const double*>(value));
    });
}

void qnyInput_replayProgress(
    qny_io_kind_t, const char* name, qny_value_type_t type, void* value, size_t, void* userData)
{
    if (type != QNY_DOUBLE_T || !value) {
        return;
    }
    LivingModules::with(userData, [&](RecorderModule& module) {
        Q_EMIT module.replayProgressReceived(recorderIdOfInput(name), *static_cast<const double*>(value));
    });
}

void RecorderModule::_initialiseServices()
{
    for (const ReplyService& service : REPLY_SERVICES) {
        qny_service_init(service.name, service.callback, this);
        for (const ReplyArgument& argument : service.arguments) {
            qny_service_arg_add(service.name, argument.name, argument.type);
        }
    }
}

void RecorderModule::_removeServices()
{
    for (const ReplyService& service : REPLY_SERVICES) {
        if (service.isRemovedWithModule) {
            qny_service_remove(service.name);
        }
    }
}
