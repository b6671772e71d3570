// SPDX-License-Identifier: Apache-2.0
#include "systemviewmanager.h"

#include "corvaneutils.h"
#include "encounteredagentinfo.h"
#include "encounteredagentsonhost.h"
#include "reservedagentandtoolfamilies.h"
#include "systemdocumenthandler.h"
#include "systemview.h"
#include "systemviewclassinstance.h"

#include <zqproperty.h>

#include <QProcess>
#include <QRandomGenerator>

namespace {

const QString NAME_LONG_OPTION = QStringLiteral("--name");
const QString NAME_SHORT_OPTION = QStringLiteral("-n");

// Only of recorders it is known which options they have: that "-n" names them too, and what takes a value.
bool isRecorder(const SystemViewClassInstance* instance)
{
    return instance->familyUuid() == ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID;
}

QString nameInLine(const SystemViewClassInstance* instance, const QString& commandLine)
{
    return isRecorder(instance) ? CorvaneUtils::optionValue(commandLine, NAME_LONG_OPTION, NAME_SHORT_OPTION)
                                : CorvaneUtils::optionValue(commandLine, NAME_LONG_OPTION, QString(), {});
}

QString withName(const SystemViewClassInstance* instance, const QString& commandLine, const QString& name)
{
    if (isRecorder(instance)) {
        return CorvaneUtils::updateCommandLineWithArgumentOptionFor(
            commandLine, NAME_LONG_OPTION, NAME_SHORT_OPTION, name);
    }
    // Of other agents it is not known whether they take a name at all.
    return nameInLine(instance, commandLine).isNull()
        ? commandLine
        : CorvaneUtils::updateCommandLineWithArgumentOptionFor(commandLine, NAME_LONG_OPTION, QString(), name, {});
}

} // namespace

SystemViewManager* SystemViewManager::instance()
{
    static SystemViewManager* const self = new SystemViewManager; // never deleted: pages and instances speak to it last
    return self;
}

SystemViewManager::SystemViewManager() = default;

SystemViewManager::~SystemViewManager() = default;

QString SystemViewManager::problem() const
{
    return _problem;
}

QPointF SystemViewManager::randomInitialPositionInViewport(SystemView* systemView) const
{
    if (systemView == nullptr) {
        systemView = SystemDocumentHandler::instance()->currentSystemView();
    }
    const QRectF viewport = systemView == nullptr ? QRectF(0, 0, 960, 640) : systemView->viewport();
    // The upper left three quarters, so that what is placed there stands inside.
    const auto random
        = [](double from, double length) { return from + QRandomGenerator::global()->bounded(0.75) * length; };
    return { random(viewport.x(), viewport.width()), random(viewport.y(), viewport.height()) };
}

bool SystemViewManager::updateInstanceName(SystemViewBaseInstance* instance, const QString& name)
{
    Q_ASSERT(instance);
    const QString cleanName = CorvaneUtils::cleanAgentName(name);
    if (cleanName.isEmpty()) {
        return _refuse(tr("A name needs at least one visible character; '%1' keeps its name.").arg(instance->name()));
    }
    if (cleanName == instance->name()) {
        _accept();
        return true;
    }
    auto* classInstance = qobject_cast<SystemViewClassInstance*>(instance);
    if (classInstance != nullptr && classInstance->isRunning()) {
        return _refuse(tr("'%1' is running and keeps its name: mappings go by it. Disconnect it, then rename it.")
                .arg(instance->name()));
    }
    const SystemView* systemView = instance->systemView();
    if (systemView->uniqueInstanceName(cleanName) != cleanName) {
        return _refuse(tr("'%1' keeps its name: '%2' is already used in this view. Choose another.")
                .arg(instance->name(), cleanName));
    }
    if (classInstance != nullptr) {
        for (const EncounteredAgentsOnHost* group : classInstance->encounteredAgentsOnHosts()) {
            for (EncounteredAgentInfo* info : group->encounteredAgentInfos()) {
                info->setcommandLine(withName(classInstance, info->commandLine(), cleanName));
            }
        }
    }
    instance->setname(cleanName);
    _accept();
    return true;
}

void SystemViewManager::udapteEncounteredAgentInfoCommandLineNoUndoRedo(SystemViewBaseInstance* instance,
    EncounteredAgentsOnHost* group, EncounteredAgentInfo* info, const QString& commandLine, bool updateName)
{
    Q_ASSERT(instance);
    Q_ASSERT(info);
    if (group != nullptr && info->group() != group) {
        _refuse(
            tr("The launch line of '%1' was not changed: it is not one of the machine named.").arg(instance->name()));
        return;
    }
    if (QProcess::splitCommand(commandLine).isEmpty()) {
        _refuse(tr("The launch line of '%1' was not changed: it must name a program.").arg(instance->name()));
        return;
    }
    if (updateName) {
        const auto* classInstance = qobject_cast<SystemViewClassInstance*>(instance);
        const QString name = classInstance == nullptr ? QString() : nameInLine(classInstance, commandLine);
        if (!name.isEmpty() && !updateInstanceName(instance, name)) {
            return;
        }
    }
    info->setcommandLine(commandLine);
    info->setbroughtBy(QString());
    _accept();
}

void SystemViewManager::raiseProblem(const QString& message)
{
    Q_EMIT problemRaised(message);
}

bool SystemViewManager::_refuse(const QString& message)
{
    qWarning("%s", qUtf8Printable(message));
    ZqProperty::assign(this, _problem, message, &SystemViewManager::problemChanged);
    raiseProblem(message);
    return false;
}

void SystemViewManager::_accept()
{
    ZqProperty::assign(this, _problem, QString(), &SystemViewManager::problemChanged);
}
