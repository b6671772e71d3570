// SPDX-License-Identifier: Apache-2.0
#include "network.h"

#include <QDebug>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <quenary_families.h>
#include <quenary_launcher.h>

namespace launcher {

namespace {

constexpr int MOST_WAITING = 64;
const QString NO_OPERATOR = QStringLiteral("Your certificate is not among those of the operators of this launcher.");
/// Requests are small; definitions of other agents must fit.
constexpr size_t MOST_MESSAGE_BYTES = 4 * 1024 * 1024;

QString problem(const char* what)
{
    return QStringLiteral("%1: %2").arg(QLatin1String(what), QString::fromUtf8(qny_last_error()));
}

void refuse(const char* hostUuid, const QString& launchUuid, const QString& why)
{
    Network::tell(hostUuid, { launchUuid, QNY_LAUNCH_REFUSED, 0, why, {} });
}

/// Answers can be sent to it.
bool isHost(const char* definition)
{
    const QJsonArray services = QJsonDocument::fromJson(definition).object()["services"].toArray();
    for (const QJsonValue& service : services) {
        if (service["name"].toString() == QLatin1String(QNY_LAUNCH_STATE)) {
            return true;
        }
    }
    return false;
}

/// A C string: nothing follows a zero character.
QByteArray textOf(QString text)
{
    return text.replace(QChar(u'\0'), u' ').toUtf8();
}

} // namespace

Network::Network() = default;

Network::~Network()
{
    stop();
    qny_certificates_close(_operators);
}

QString Network::start(const Settings& settings, int argc, const char* const* argv)
{
    if (qny_set_command_line(argc, argv, nullptr) != QNY_SUCCESS
        || qny_name_set(settings.name.toUtf8().constData()) != QNY_SUCCESS
        || qny_family_set(QNY_FAMILY_LAUNCHER) != QNY_SUCCESS) {
        return problem("the agent's name was refused");
    }
    qny_output_create(QNY_LAUNCHER_PROGRAMS, QNY_STRING_T, nullptr, 0);
    qny_service_init(QNY_LAUNCHER_START, &Network::_onStart, this);
    qny_service_arg_add(QNY_LAUNCHER_START, "launch", QNY_STRING_T);
    qny_service_arg_add(QNY_LAUNCHER_START, "program", QNY_STRING_T);
    qny_service_init(QNY_LAUNCHER_STOP, &Network::_onStop, this);
    qny_service_arg_add(QNY_LAUNCHER_STOP, "launch", QNY_STRING_T);
    qny_observe_agents(&Network::_onAgent, this);
    qny_observe_stop_requests(&Network::_onEnd, this);
    _isStarted = true;

    // What was asked for here holds for the agents, too: they find it in the environment, as this library would.
    const auto hand = [](const char* name, const QString& value) {
        if (!value.isEmpty()) {
            qputenv(name, value.toUtf8());
        }
    };
    hand("QNY_DEVICE", settings.device);
    hand("QNY_PORT", settings.port == 0 ? QString() : QString::number(settings.port));
    hand("QNY_PEERS", settings.peers);
    hand("QNY_HOST_NAME", settings.hostName);
    hand("QNY_PRIVATE_CERTIFICATE", settings.privateCertificate);
    hand("QNY_PUBLIC_CERTIFICATES", settings.publicCertificates);
    if (!settings.operators.isEmpty()) {
        if (qEnvironmentVariableIsEmpty("QNY_PRIVATE_CERTIFICATE")) {
            return QStringLiteral("--operators needs a secured network: name --qnyCert and --publicCerts, too");
        }
        _operators = qny_certificates_open(QFile::encodeName(settings.operators).constData());
        if (_operators == nullptr) {
            return problem("the operators' certificates cannot be read");
        }
    }
    qny_options_t options;
    qny_options_init(&options);
    options.max_message_bytes = MOST_MESSAGE_BYTES;
    return qny_start(&options) == QNY_SUCCESS ? QString() : problem("cannot join the network");
}

void Network::stop()
{
    if (!_isStarted) {
        return;
    }
    _isStarted = false;
    qny_unobserve_agents(&Network::_onAgent, this);
    qny_observe_stop_requests(nullptr, nullptr);
    qny_service_remove(QNY_LAUNCHER_START);
    qny_service_remove(QNY_LAUNCHER_STOP);
    qny_stop();
}

void Network::offer(const Configuration& configuration)
{
    QJsonArray programs;
    for (const Program& program : configuration.programs) {
        programs.append(QJsonObject { { "program", program.path }, { "family", program.family } });
    }
    const QByteArray text = QJsonDocument(programs).toJson(QJsonDocument::Compact);
    if (qny_output_set_string(QNY_LAUNCHER_PROGRAMS, text.constData()) != QNY_SUCCESS) {
        qWarning().noquote() << "Hosts are not told what may be started:" << qny_last_error();
    }
}

bool Network::tell(const QByteArray& hostUuid, const News& news)
{
    qny_service_arg_t* arguments = nullptr;
    qny_service_args_add_string(&arguments, textOf(news.launchUuid).constData());
    qny_service_args_add_string(&arguments, news.state.constData());
    qny_service_args_add_int(&arguments, news.number);
    qny_service_args_add_string(&arguments, textOf(news.text).constData());
    qny_service_args_add_string(&arguments, textOf(news.lastLines).constData());
    const qny_result_t result = qny_service_call(hostUuid.constData(), QNY_LAUNCH_STATE, &arguments, nullptr);
    if (result == QNY_ERROR_UNKNOWN_AGENT) {
        return false;
    }
    if (result != QNY_SUCCESS) {
        qWarning().noquote() << "A host was not told of launch" << news.launchUuid << ":" << qny_last_error();
    }
    return true;
}

bool Network::mayHear(const QByteArray& hostUuid) const
{
    return _operators == nullptr || qny_certificates_hold(_operators, _hostKeys.value(hostUuid).constData());
}

// ---- callbacks ------------------------------------------------------------------------------------------------------

bool Network::_isOperator(const char* senderName) const
{
    if (_operators == nullptr) {
        return true;
    }
    const qny_certificate_t* const certificate = qny_caller_certificate();
    if (certificate != nullptr && qny_certificates_hold(_operators, certificate->public_key)) {
        return true;
    }
    qWarning().noquote() << "Refused a request of" << senderName << "with the certificate"
                         << (certificate == nullptr ? "(none)" : certificate->name) << ": it is no operator's";
    return false;
}

template <class Function> void Network::_post(const char* senderName, const char* senderUuid, Function function)
{
    if (_waiting.fetch_add(1) >= MOST_WAITING) {
        _waiting.fetch_sub(1);
        qWarning().noquote() << "Too many requests at a time; one of" << senderName << "was refused";
        refuse(senderUuid, {}, QStringLiteral("Too many requests are waiting. Ask again in a moment."));
        return;
    }
    QMetaObject::invokeMethod(
        this,
        [this, function] {
            _waiting.fetch_sub(1);
            function();
        },
        Qt::QueuedConnection);
}

void Network::_onStart(const char* senderName, const char* senderUuid, const char*, qny_service_arg_t* first,
    size_t count, const char*, void* user)
{
    auto* const self = static_cast<Network*>(user);
    if (!self->_isOperator(senderName)) {
        const bool hasLaunch = first != nullptr && first->type == QNY_STRING_T && first->c != nullptr;
        refuse(senderUuid, hasLaunch ? QString::fromUtf8(first->c).left(36) : QString(), NO_OPERATOR);
        return;
    }
    QStringList texts;
    size_t bytes = 0;
    bool isText = true;
    for (const qny_service_arg_t* argument = first; argument != nullptr && isText; argument = argument->next) {
        isText = argument->type == QNY_STRING_T && argument->c != nullptr;
        bytes += argument->size;
        // Copied as far as a request may go: the rest is refused unread.
        if (isText && bytes <= 2 * MOST_REQUEST_BYTES && texts.size() <= MOST_ARGUMENTS + 2) {
            texts.append(QString::fromUtf8(argument->c));
        }
    }
    if (!isText || count < 2) {
        qWarning().noquote() << "Refused a request of" << senderName << "that is no list of texts";
        refuse(senderUuid, {},
            QStringLiteral("A request to start an agent is a list of texts: a uuid, a program, its arguments."));
        return;
    }
    if (static_cast<size_t>(texts.size()) != count) {
        qWarning().noquote() << "Refused a request of" << senderName << "with" << count << "texts of" << bytes
                             << "bytes";
        refuse(senderUuid, texts.value(0).left(36),
            QStringLiteral("The launch line is too long: at most %1 arguments and %2 bytes are taken.")
                .arg(MOST_ARGUMENTS)
                .arg(MOST_REQUEST_BYTES));
        return;
    }
    const Request request { texts.at(0), texts.at(1), texts.mid(2), senderUuid, QString::fromUtf8(senderName) };
    self->_post(senderName, senderUuid, [self, request] { Q_EMIT self->startAsked(request); });
}

void Network::_onStop(const char* senderName, const char* senderUuid, const char*, qny_service_arg_t* first,
    size_t count, const char*, void* user)
{
    auto* const self = static_cast<Network*>(user);
    if (!self->_isOperator(senderName)) {
        refuse(senderUuid, {}, NO_OPERATOR);
        return;
    }
    const bool isLaunch = count == 1 && first->type == QNY_STRING_T && first->c != nullptr && first->size <= 64;
    if (!isLaunch && (count != 1 || first->type != QNY_INTEGER_T)) {
        qWarning().noquote() << "Refused a request of" << senderName << "to end an agent: it names none";
        refuse(senderUuid, {}, QStringLiteral("A request to end an agent names its launch or its process."));
        return;
    }
    const QString launch = isLaunch ? QString::fromUtf8(first->c) : QString();
    const int processId = isLaunch ? 0 : first->i;
    const QString name = QString::fromUtf8(senderName);
    const QByteArray uuid = senderUuid;
    self->_post(senderName, senderUuid,
        [self, launch, processId, uuid, name] { Q_EMIT self->stopAsked(launch, processId, uuid, name); });
}

void Network::_onAgent(qny_agent_event_t event, const qny_agent_info_t* agent, void* user)
{
    auto* const self = static_cast<Network*>(user);
    const QByteArray uuid = agent->uuid;
    const QByteArray key = agent->public_key;
    const bool isThere = event != QNY_AGENT_EXITED && !agent->stand_in && isHost(agent->definition);
    QMetaObject::invokeMethod(
        self,
        [self, uuid, key, isThere] {
            if (isThere) {
                self->_hostKeys.insert(uuid, key);
                Q_EMIT self->hostEntered(uuid);
            } else {
                self->_hostKeys.remove(uuid);
                Q_EMIT self->hostExited(uuid);
            }
        },
        Qt::QueuedConnection);
}

void Network::_onEnd(const char* askerName, const char*, void* user)
{
    auto* const self = static_cast<Network*>(user);
    if (!self->_isOperator(askerName)) {
        return;
    }
    const QString name = QString::fromUtf8(askerName);
    QMetaObject::invokeMethod(self, [self, name] { Q_EMIT self->endAsked(name); }, Qt::QueuedConnection);
}

} // namespace launcher
