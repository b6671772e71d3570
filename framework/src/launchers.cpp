// SPDX-License-Identifier: Apache-2.0
#include "launchers.h"

#include "encounteredagentinfo.h"
#include "encounteredagentsonhost.h"
#include "host.h"
#include "networkagents.h"
#include "reservedagentandtoolfamilies.h"
#include "systemdocument.h"
#include "systemdocumenthandler.h"
#include "systemview.h"
#include "systemviewclassinstance.h"
#include "systemviewmanager.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstring>

#include <quenary.h>
#include <quenary_launcher.h>

namespace {

// What others say is shown, but not without end.
constexpr qsizetype MOST_TEXT = 1000;
constexpr qsizetype MOST_LINES = 5;
constexpr qsizetype MOST_OFFERS = 1000;

QString withoutControls(QString text)
{
    for (QChar& character : text) {
        if (character.category() == QChar::Other_Control) {
            character = u' ';
        }
    }
    return text.trimmed();
}

QString lastOf(const QString& lines)
{
    QStringList kept;
    const QStringList all = lines.split(u'\n', Qt::SkipEmptyParts);
    for (const QString& line : all.mid(all.size() - std::min(all.size(), MOST_LINES))) {
        kept.append(withoutControls(line.right(MOST_TEXT / MOST_LINES)));
    }
    return kept.join(u'\n');
}

QString nameOfSignal(int number)
{
    const char* const name = sigabbrev_np(number);
    return name == nullptr ? QString::number(number) : QStringLiteral("SIG") + QLatin1String(name);
}

NetworkAgent agentOf(const QString& uuid)
{
    for (const NetworkAgent& agent : NetworkAgents::instance()->agents()) {
        if (agent.uuid == uuid) {
            return agent;
        }
    }
    return {};
}

struct FoundLine
{
    SystemViewClassInstance* instance = nullptr;
    EncounteredAgentInfo* info = nullptr;
};

FoundLine lineOf(const QString& launchUuid)
{
    const SystemDocument* const document = SystemDocumentHandler::instance()->currentSystemDocument();
    const QList<SystemView*> views = document == nullptr ? QList<SystemView*>() : document->systemViews();
    for (const SystemView* view : views) {
        for (SystemViewClassInstance* instance : view->getAllClassInstances()) {
            for (const EncounteredAgentsOnHost* group : instance->encounteredAgentsOnHosts()) {
                for (EncounteredAgentInfo* info : group->encounteredAgentInfos()) {
                    if (info->uuid().compare(launchUuid, Qt::CaseInsensitive) == 0) {
                        return { instance, info };
                    }
                }
            }
        }
    }
    return {};
}

} // namespace

// The library's thread calls in here. It checks, copies and posts; the object is never deleted.
struct LaunchersCallback
{
    static void onState(const char*, const char* senderUuid, const char*, qny_service_arg_t* first, size_t count,
        const char*, void* user)
    {
        static constexpr qny_value_type_t TYPES[]
            = { QNY_STRING_T, QNY_STRING_T, QNY_INTEGER_T, QNY_STRING_T, QNY_STRING_T };
        const qny_service_arg_t* arguments[std::size(TYPES)] = {};
        bool isSound = count == std::size(TYPES);
        for (size_t i = 0; isSound && i < count; ++i, first = first->next) {
            isSound = first->type == TYPES[i] && (first->type != QNY_STRING_T || first->c != nullptr);
            arguments[i] = first;
        }
        if (!isSound) {
            qWarning("An answer of launcher %s is malformed and was dropped", senderUuid);
            return;
        }
        const auto text = [&arguments](size_t i) {
            return QString::fromUtf8(arguments[i]->c, std::min<qsizetype>(qstrlen(arguments[i]->c), 8 * MOST_TEXT));
        };
        const Launchers::State state { QString::fromUtf8(senderUuid), text(0), text(1), arguments[2]->i, text(3),
            text(4) };
        auto* const self = static_cast<Launchers*>(user);
        QMetaObject::invokeMethod(self, [self, state] { self->_onState(state); }, Qt::QueuedConnection);
    }

    static void onPublication(const qny_publication_t* publication, void* user)
    {
        if (qstrcmp(publication->output, QNY_LAUNCHER_PROGRAMS) != 0 || publication->type != QNY_STRING_T
            || publication->value == nullptr) {
            return;
        }
        const QString uuid = QString::fromUtf8(publication->agent_uuid);
        const QByteArray json(static_cast<const char*>(publication->value));
        auto* const self = static_cast<Launchers*>(user);
        QMetaObject::invokeMethod(self, [self, uuid, json] { self->_onOffers(uuid, json); }, Qt::QueuedConnection);
    }
};

Launchers* Launchers::instance()
{
    static Launchers* const self = new Launchers; // never deleted: late answers may stand in the main thread's queue
    return self;
}

Launchers::Launchers()
{
    if (QCoreApplication::instance() != nullptr) {
        moveToThread(QCoreApplication::instance()->thread());
    }
    connect(NetworkAgents::instance(), &NetworkAgents::agentEntered, this, &Launchers::_onEntered);
    connect(NetworkAgents::instance(), &NetworkAgents::agentExited, this, &Launchers::_onExited);
    for (const NetworkAgent& agent : NetworkAgents::instance()->agents()) {
        _onEntered(agent);
    }
}

Launchers::~Launchers() = default;

bool Launchers::isLauncher(const NetworkAgent& agent)
{
    return agent.familyUuid == ReservedAgentAndToolFamilies::LAUNCHER_CLASS_UUID && !agent.standIn;
}

QString Launchers::Certificate::shown() const
{
    // Names may be alike; of keys, people compare the beginning.
    constexpr qsizetype SHOWN = 8;
    return QStringLiteral("%1 (%2…)").arg(name, publicKey.left(SHOWN));
}

bool Launchers::standsFor(const QString& machine, const NetworkAgent& launcher)
{
    if (launcher.publicKey.isEmpty()) {
        return true; // an open network, where nobody proves anything
    }
    const Certificate its { launcher.publicKey, launcher.certificateName };
    const auto known = _certificates.constFind(machine);
    if (known == _certificates.constEnd()) {
        _certificates.insert(machine, its);
        return true;
    }
    if (known->publicKey == its.publicKey) {
        return true;
    }
    _refusedAgents.insert(launcher.uuid);
    const QString refusal = machine + u'\n' + its.publicKey;
    if (!_toldRefusals.contains(refusal)) {
        _toldRefusals.insert(refusal);
        const QString sentence = tr("The certificate %1 shows a launcher of %2, whose launcher came with the "
                                    "certificate %3. It is neither asked nor heard. If that machine has new keys, "
                                    "start this program again.")
                                     .arg(its.shown(), machine, known->shown());
        qWarning("%s", qUtf8Printable(sentence));
        SystemViewManager::instance()->raiseProblem(sentence);
    }
    return false;
}

void Launchers::declare()
{
    if (qny_service_exists(QNY_LAUNCH_STATE)) {
        return;
    }
    qny_service_init(QNY_LAUNCH_STATE, &LaunchersCallback::onState, this);
    for (const char* name : { "launch", "state" }) {
        qny_service_arg_add(QNY_LAUNCH_STATE, name, QNY_STRING_T);
    }
    qny_service_arg_add(QNY_LAUNCH_STATE, "number", QNY_INTEGER_T);
    for (const char* name : { "text", "last_lines" }) {
        qny_service_arg_add(QNY_LAUNCH_STATE, name, QNY_STRING_T);
    }
}

QList<OfferedProgram> Launchers::offeredBy(const QString& launcherUuid) const
{
    return _offers.value(launcherUuid);
}

// ---- asking ---------------------------------------------------------------------------------------------------------

QString Launchers::_ask(
    const QString& launcherUuid, const char* service, qny_service_arg_t** arguments, const QString& token)
{
    const qny_result_t result = qny_service_call(
        launcherUuid.toUtf8().constData(), service, arguments, token.isEmpty() ? nullptr : token.toUtf8().constData());
    if (result != QNY_SUCCESS) {
        return tr("The launcher could not be asked: %1").arg(QString::fromUtf8(qny_last_error()));
    }
    ++_unanswered[launcherUuid];
    return {};
}

bool Launchers::vouchesFor(const Host* machine, const QString& publicKey) const
{
    return !publicKey.isEmpty() && _certificates.value(machine->networkName()).publicKey == publicKey;
}

QString Launchers::problemOf(EncounteredAgentInfo* info) const
{
    const Host* const host = info->group()->host();
    if (info->broughtBy().isEmpty() || vouchesFor(host, info->broughtBy())) {
        info->setbroughtBy(QString()); // also when the launcher has new keys one day
        return {};
    }
    return tr("This launch line was brought by a process with another certificate than that of %1's launcher, and was "
              "not started: look at all of it, and enter it yourself, if it is right.")
        .arg(host->networkName());
}

QString Launchers::askToStart(EncounteredAgentInfo* info)
{
    if (const QString problem = instance()->problemOf(info); !problem.isEmpty()) {
        return problem;
    }
    qny_service_arg_t* arguments = nullptr;
    qny_service_args_add_string(&arguments, info->uuid().toUtf8().constData());
    for (const QString& part : info->splitCommandLine().parts()) {
        qny_service_args_add_string(&arguments, part.toUtf8().constData());
    }
    return instance()->_ask(info->group()->host()->launcherUuid(), QNY_LAUNCHER_START, &arguments, info->uuid());
}

QString Launchers::askToEnd(const QString& launcherUuid, const EncounteredAgentInfo* info, qint64 processId)
{
    qny_service_arg_t* arguments = nullptr;
    if (info != nullptr) {
        qny_service_args_add_string(&arguments, info->uuid().toUtf8().constData());
    } else {
        qny_service_args_add_int(&arguments, static_cast<int32_t>(processId));
    }
    return instance()->_ask(launcherUuid, QNY_LAUNCHER_STOP, &arguments, QString());
}

// ---- what launchers say ---------------------------------------------------------------------------------------------

void Launchers::_onEntered(const NetworkAgent& agent)
{
    // It may have left again meanwhile: then there is nothing to hear.
    if (isLauncher(agent)) {
        qny_monitor_add(agent.uuid.toUtf8().constData(), &LaunchersCallback::onPublication, this);
    }
}

void Launchers::_onExited(const NetworkAgent& agent)
{
    _refusedAgents.remove(agent.uuid);
    _unanswered.remove(agent.uuid);
    if (_offers.remove(agent.uuid)) {
        Q_EMIT offersChanged();
    }
}

void Launchers::_onOffers(const QString& launcherUuid, const QByteArray& json)
{
    if (!isLauncher(agentOf(launcherUuid))) {
        return; // it has left
    }
    QList<OfferedProgram> offers;
    const QJsonArray programs = QJsonDocument::fromJson(json).array();
    for (const QJsonValue& program : programs) {
        const OfferedProgram offer { program["program"].toString(), program["family"].toString() };
        if (!offer.path.isEmpty() && !offer.familyUuid.isEmpty() && offers.size() < MOST_OFFERS) {
            offers.append(offer);
        }
    }
    _offers.insert(launcherUuid, offers);
    Q_EMIT offersChanged();
}

QString Launchers::_sentence(const State& state, const QString& agentName, const QString& hostName)
{
    const QString reason = withoutControls(state.text.left(MOST_TEXT));
    const QString said = lastOf(state.lastLines);
    const auto withLines = [&said](const QString& sentence) {
        return said.isEmpty() ? sentence : tr("%1 It said last:\n%2").arg(sentence, said);
    };
    if (state.state == QLatin1String(QNY_LAUNCH_REFUSED) || state.state == QLatin1String(QNY_LAUNCH_FAILED)) {
        return tr("\"%1\" was not started on %2: %3").arg(agentName, hostName, reason);
    }
    if (state.state == QLatin1String(QNY_LAUNCH_RUNNING)) {
        return tr("\"%1\" runs on %2 already, as process %3, but does not answer. End it there, then connect it again.")
            .arg(agentName, hostName)
            .arg(state.number);
    }
    if (state.state == QLatin1String(QNY_LAUNCH_EXITED) && state.number != 0) {
        return withLines(tr("\"%1\" ended on %2 with status %3.").arg(agentName, hostName).arg(state.number));
    }
    if (state.state == QLatin1String(QNY_LAUNCH_SIGNALLED)) {
        return withLines(
            tr("\"%1\" was ended on %2 by the signal %3.").arg(agentName, hostName, nameOfSignal(state.number)));
    }
    if (state.state == QLatin1String(QNY_LAUNCH_LOST)) {
        return tr("\"%1\" ended on %2; how is not known, because the process that watched it was ended too.")
            .arg(agentName, hostName);
    }
    return {}; // as it should be
}

void Launchers::_onState(const State& state)
{
    const NetworkAgent launcher = agentOf(state.launcherUuid);
    if (!isLauncher(launcher)) {
        qWarning("Agent %s, which is no launcher, says how a launch went: it is not heard",
            qUtf8Printable(state.launcherUuid));
        return;
    }
    if (_refusedAgents.contains(state.launcherUuid)) {
        return;
    }
    if (state.launchUuid.isEmpty()) {
        // Whoever was asked nothing has nothing to refuse.
        const auto asked = _unanswered.find(state.launcherUuid);
        if (state.state == QLatin1String(QNY_LAUNCH_REFUSED) && asked != _unanswered.end() && *asked > 0) {
            --*asked;
            SystemViewManager::instance()->raiseProblem(tr("The launcher of %1 refused: %2")
                    .arg(launcher.hostName, withoutControls(state.text.left(MOST_TEXT))));
        }
        return;
    }
    const FoundLine line = lineOf(state.launchUuid);
    if (line.info == nullptr) {
        return; // of another document
    }
    // Nobody speaks for a machine by showing a launcher of another one, or by becoming a launcher later on.
    const Host* const host = line.info->group()->host();
    if (host == nullptr || host->launcherUuid() != launcher.uuid) {
        qWarning("Agent %s, which is no launcher of that machine, says how a launch went: it is not heard",
            qUtf8Printable(state.launcherUuid));
        return;
    }
    if (state.state == QLatin1String(QNY_LAUNCH_STOPPED)) {
        Q_EMIT line.instance->launchStopped(line.info);
        return;
    }
    const QString sentence = _sentence(state, line.instance->name(), launcher.hostName);
    if (sentence.isEmpty()) {
        return;
    }
    const bool canBeEnded = state.state == QLatin1String(QNY_LAUNCH_RUNNING);
    Q_EMIT line.instance->launchFailed(line.info, sentence, canBeEnded);
    SystemViewManager::instance()->raiseProblem(sentence);
}
