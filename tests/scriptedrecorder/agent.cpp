// SPDX-License-Identifier: Apache-2.0
#include "agent.h"

#include <quenary_families.h>

#include <QtCore/QMetaType>

namespace scripted {

namespace {

const char* const SERVICES[] = { "record", "stop_recording", "pause_record", "resume_record", "get_records",
    "get_context", "get_record_filters", "set_record_filters", "load", "load_file", "unload", "rename", "delete",
    "play", "pause", "move_to", "filter_replaying_agents", "speed", "export", "import", "append" };
const char* const OUTPUTS[] = { "record_progress", "replay_progress" };

QVariant toVariant(const qny_service_arg_t& argument)
{
    switch (argument.type) {
    case QNY_BOOL_T:
        return argument.b;
    case QNY_INTEGER_T:
        return argument.i;
    case QNY_DOUBLE_T:
        return argument.d;
    case QNY_STRING_T:
        return QByteArray(argument.c);
    default:
        return {};
    }
}

qny_result_t add(qny_service_arg_t** list, const QVariant& argument)
{
    switch (argument.typeId()) {
    case QMetaType::Bool:
        return qny_service_args_add_bool(list, argument.toBool());
    case QMetaType::Int:
        return qny_service_args_add_int(list, argument.toInt());
    case QMetaType::Double:
        return qny_service_args_add_double(list, argument.toDouble());
    default:
        return qny_service_args_add_string(list, argument.toByteArray().constData());
    }
}

} // namespace

Agent::Agent(CallHandler onCall)
    : _onCall(std::move(onCall))
{
}

Agent::~Agent()
{
    qny_stop();
}

bool Agent::start(const QString& name, int argc, const char* const* argv, QString& problem)
{
    bool isGood = qny_set_command_line(argc, argv, nullptr) == QNY_SUCCESS
        && qny_name_set(name.toUtf8().constData()) == QNY_SUCCESS && qny_family_set(QNY_FAMILY_RECORDER) == QNY_SUCCESS;
    for (const char* output : OUTPUTS) {
        isGood = isGood && qny_output_create(output, QNY_DOUBLE_T, nullptr, 0) == QNY_SUCCESS;
    }
    for (const char* service : SERVICES) {
        isGood = isGood && qny_service_init(service, &Agent::onCall, this) == QNY_SUCCESS;
    }
    isGood = isGood && qny_start(nullptr) == QNY_SUCCESS;
    if (!isGood) {
        problem = QString::fromUtf8(qny_last_error());
    }
    return isGood;
}

bool Agent::call(const QByteArray& to, const QString& service, const QVariantList& arguments, const QByteArray& token)
{
    qny_service_arg_t* list = nullptr;
    bool isGood = true;
    for (const QVariant& argument : arguments) {
        isGood = add(&list, argument) == QNY_SUCCESS && isGood;
    }
    return qny_service_call(
               to.constData(), service.toUtf8().constData(), &list, token.isNull() ? nullptr : token.constData())
        == QNY_SUCCESS
        && isGood;
}

bool Agent::publish(const QString& output, double value)
{
    return qny_output_set_double(output.toUtf8().constData(), value) == QNY_SUCCESS;
}

void Agent::onCall(const char*, const char* senderUuid, const char* service, qny_service_arg_t* first, size_t,
    const char* token, void* self)
{
    Call call { service, {}, token, senderUuid };
    for (const qny_service_arg_t* argument = first; argument; argument = argument->next) {
        call.arguments.append(toVariant(*argument));
    }
    static_cast<Agent*>(self)->_onCall(call);
}

} // namespace scripted
