// SPDX-License-Identifier: Apache-2.0
#include "network.h"

#include <QDebug>
#include <QFile>

#include <quenary_families.h>

namespace recorder {

namespace {

constexpr char RECORD_PROGRESS[] = "record_progress";
constexpr char REPLAY_PROGRESS[] = "replay_progress";

Argument argumentOf(const qny_service_arg_t& argument)
{
    switch (argument.type) {
    case QNY_BOOL_T:
        return argument.b;
    case QNY_INTEGER_T:
        return argument.i;
    case QNY_DOUBLE_T:
        return argument.d;
    case QNY_STRING_T: {
        // The size counts the final zero byte.
        const size_t length = argument.size > 0 ? argument.size - 1 : 0;
        return argument.c ? QByteArray(argument.c, static_cast<qsizetype>(length)) : QByteArray("");
    }
    default:
        return std::monostate();
    }
}

void append(qny_service_arg_t** list, const Argument& argument)
{
    qny_result_t result = QNY_SUCCESS;
    if (const auto* b = std::get_if<bool>(&argument)) {
        result = qny_service_args_add_bool(list, *b);
    } else if (const auto* i = std::get_if<int32_t>(&argument)) {
        result = qny_service_args_add_int(list, *i);
    } else if (const auto* d = std::get_if<double>(&argument)) {
        result = qny_service_args_add_double(list, *d);
    } else if (const auto* bytes = std::get_if<QByteArray>(&argument)) {
        result = qny_service_args_add_string(list, bytes->constData());
    }
    if (result != QNY_SUCCESS) {
        // An argument that is missing would make the whole answer unreadable; an empty text keeps it in shape.
        qWarning().noquote() << "An argument of an answer could not be sent:" << qny_last_error();
        qny_service_args_add_string(list, "");
    }
}

/// Inside a callback: who calls.
Caller callerOf(const char* name, const char* uuid)
{
    Caller caller;
    caller.agentUuid = uuid;
    caller.agentName = QString::fromUtf8(name);
    if (const qny_certificate_t* certificate = qny_caller_certificate()) {
        caller.publicKey = certificate->public_key;
        caller.certificateName = QString::fromUtf8(certificate->name);
    }
    return caller;
}

void publish(const char* output, double seconds)
{
    if (qny_output_publish(output, QNY_DOUBLE_T, &seconds, sizeof seconds, 0, nullptr) != QNY_SUCCESS) {
        qWarning().noquote() << "Could not publish" << output << ":" << qny_last_error();
    }
}

} // namespace

Network::Network(CallHandler onCall, StopHandler onStop)
    : _onCall(std::move(onCall))
    , _onStop(std::move(onStop))
{
}

Network::~Network()
{
    stop();
}

QString Network::setCommandLine(const QByteArrayList& arguments)
{
    std::vector<const char*> argv;
    for (const QByteArray& argument : arguments) {
        argv.push_back(argument.constData());
    }
    if (qny_set_command_line(static_cast<int>(argv.size()), argv.data(), nullptr) != QNY_SUCCESS) {
        return QString::fromUtf8(qny_last_error());
    }
    return {};
}

QString Network::start(const Settings& settings)
{
    const auto problem = [](const char* what) {
        return QStringLiteral("%1: %2").arg(QLatin1String(what), QString::fromUtf8(qny_last_error()));
    };
    if (qny_name_set(settings.name.toUtf8().constData()) != QNY_SUCCESS
        || qny_family_set(QNY_FAMILY_RECORDER) != QNY_SUCCESS) {
        return problem("the agent's name was refused");
    }
    for (const char* output : { RECORD_PROGRESS, REPLAY_PROGRESS }) {
        if (qny_output_create(output, QNY_DOUBLE_T, nullptr, 0) != QNY_SUCCESS) {
            return problem("an output was refused");
        }
    }
    for (const DeclaredService& service : declaredServices()) {
        if (qny_service_init(service.name, onServiceCall, this) != QNY_SUCCESS) {
            return problem("a service was refused");
        }
        for (const DeclaredArgument& argument : service.arguments) {
            if (qny_service_arg_add(service.name, argument.name, argument.type) != QNY_SUCCESS) {
                return problem("a service's argument was refused");
            }
        }
    }
    qny_observe_agents(AgentDirectory::onAgentEvent, &_directory);
    qny_observe_stop_requests(onStopRequest, this);
    _isStarted = true;

    const QByteArray device = settings.device.toUtf8();
    const QByteArray peers = settings.peers.toUtf8();
    const QByteArray privateCertificate = QFile::encodeName(settings.privateCertificate);
    const QByteArray publicCertificates = QFile::encodeName(settings.publicCertificates);
    qny_options_t options;
    qny_options_init(&options);
    options.device = device.isEmpty() ? nullptr : device.constData();
    options.peers = peers.isEmpty() ? nullptr : peers.constData();
    options.port = settings.port;
    options.private_certificate = privateCertificate.constData();
    options.public_certificates = publicCertificates.constData();
    const qny_result_t result = qny_start(&options);
    if (result != QNY_SUCCESS) {
        return QStringLiteral("cannot join the network: %1").arg(QString::fromUtf8(qny_last_error()));
    }
    qInfo() << (qny_is_secured() ? "The network is secured" : "The network is open: whoever reaches it may command");
    return {};
}

void Network::stop()
{
    if (!_isStarted) {
        return;
    }
    _isStarted = false;
    qny_unobserve_agents(AgentDirectory::onAgentEvent, &_directory);
    qny_observe_stop_requests(nullptr, nullptr);
    for (const DeclaredService& service : declaredServices()) {
        qny_service_remove(service.name);
    }
    qny_stop();
}

void Network::onServiceCall(const char* senderName, const char* senderUuid, const char* service,
    qny_service_arg_t* first, size_t count, const char* token, void* self)
{
    for (const DeclaredService& declared : declaredServices()) {
        if (qstrcmp(declared.name, service) != 0) {
            continue;
        }
        Call call;
        call.service = declared.service;
        call.caller = callerOf(senderName, senderUuid);
        if (token) {
            call.caller.token = QByteArray(token);
        }
        call.arguments.reserve(count);
        for (const qny_service_arg_t* argument = first; argument; argument = argument->next) {
            call.arguments.push_back(argumentOf(*argument));
        }
        static_cast<Network*>(self)->_onCall(std::move(call));
        return;
    }
}

void Network::onStopRequest(const char* byName, const char* byUuid, void* self)
{
    qInfo().noquote() << "Asked to stop by" << byName;
    static_cast<Network*>(self)->_onStop(callerOf(byName, byUuid));
}

void Network::send(const Answer& answer)
{
    qny_service_arg_t* list = nullptr;
    for (const Argument& argument : answer.arguments) {
        append(&list, argument);
    }
    const qny_result_t result = qny_service_call(
        answer.agentUuid.constData(), answer.service, &list, answer.token ? answer.token->constData() : nullptr);
    if (result == QNY_ERROR_UNKNOWN_AGENT) {
        qDebug().noquote() << "Answer" << answer.service << "not sent: the host has left";
    } else if (result != QNY_SUCCESS) {
        qWarning().noquote() << "Answer" << answer.service << "could not be sent:" << qny_last_error();
    } else {
        qDebug().noquote() << "Answered" << answer.service << "to" << answer.agentUuid;
    }
}

void Network::publishRecordProgress(double seconds)
{
    publish(RECORD_PROGRESS, seconds);
}

void Network::publishReplayProgress(double seconds)
{
    publish(REPLAY_PROGRESS, seconds);
}

void Network::presetRecordProgress(double seconds)
{
    qny_agent_output_preset(qny_default_agent(), RECORD_PROGRESS, QNY_DOUBLE_T, &seconds, sizeof seconds);
}

void Network::presetReplayProgress(double seconds)
{
    qny_agent_output_preset(qny_default_agent(), REPLAY_PROGRESS, QNY_DOUBLE_T, &seconds, sizeof seconds);
}

} // namespace recorder
