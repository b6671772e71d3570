// SPDX-License-Identifier: Apache-2.0
#include "stage.h"

#include <corvaneutils.h>
#include <library.h>
#include <networkconfiguration.h>
#include <reservedagentandtoolfamilies.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>
#include <systemview.h>
#include <systemviewclassinstance.h>
#include <systemviewmanager.h>
#include <theme.h>

#include <QtQml/QQmlApplicationEngine>
#include <QtQml/QQmlIncubationController>

namespace {

void addLine(SystemViewClassInstance& recorder, const QStringList& options, const QString& machine)
{
    SystemDocument* const document = SystemDocumentHandler::instance()->currentSystemDocument();
    EncounteredAgentsOnHost* const group = machine.isEmpty()
        ? recorder.getOrCreateEncounteredAgentsOnHostAttachedToCorvane()
        : recorder.getOrCreateEncounteredAgentsOnHost(document->getOrCreateHost(machine));
    recorder.getOrCreateEncounteredAgentInfo(group,
        CorvaneUtils::joinCommand(HostApplication::recorderExecutable(),
            QStringList { QStringLiteral("--name"), recorder.name() } + options));
}

} // namespace

Stage::Stage(QSize windowSize)
{
    QuenaryDouble::reset();
    Theme::instance()->setmode(Theme::Light);
    HostOptions options;
    options.device = QStringLiteral("lo");
    options.port = 5670;
    options.pluginsDirectory = _folder.path(); // the module is linked in
    options.theme = QStringLiteral("light");
    options.page = QStringLiteral("system");
    options.windowSize = windowSize;
    options.rememberSettings = false;
    QString error;
    if (!_host.start(options, &error)) {
        qFatal("The host did not start: %s", qPrintable(error));
    }
    settle();
}

Stage::~Stage()
{
    // The engine warns when it goes while rows are made.
    waitForRows();
    _host.stop();
    settle();
    QuenaryDouble::reset();
    settle();
}

void Stage::waitForRows() const
{
    const QQmlIncubationController* const rows = _host.engine()->incubationController();
    if (!QTest::qWaitFor([rows] { return !rows || rows->incubatingObjectCount() == 0; })) {
        qWarning("The rows of a list are not complete");
    }
}

RecorderModule& Stage::module() const
{
    return *qobject_cast<RecorderModule*>(_host.module(QStringLiteral("recordAndReplay")));
}

// ---- who is there -----------------------------------------------------------------------------------------------

SystemViewClassInstance* Stage::instance(const QString& name) const
{
    const SystemView* const view = SystemDocumentHandler::instance()->currentSystemView();
    return view->getAgentByName(name);
}

void Stage::run(const QString& name, const QString& machine)
{
    const SystemViewClassInstance* const shown = instance(name);
    QuenaryDouble::Agent agent;
    agent.uuid = QUuid::createUuid().toString(QUuid::WithoutBraces);
    agent.name = name;
    agent.family = shown->familyUuid();
    agent.hostName = machine.isEmpty() ? NetworkConfiguration::instance()->localNetworkName() : machine;
    agent.executable = QStringLiteral("/opt/plant/agent");
    agent.arguments = QStringList { QStringLiteral("--name"), name };
    ModuleFixture::enter(agent);
}

void Stage::runStranger(const QString& name, const QString& machine, bool isStandIn)
{
    QuenaryDouble::Agent agent;
    agent.uuid = QUuid::createUuid().toString(QUuid::WithoutBraces);
    agent.name = name;
    agent.hostName = machine;
    agent.executable = QStringLiteral("/opt/plant/agent");
    agent.standIn = isStandIn;
    ModuleFixture::enter(agent);
}

RecorderInstance* Stage::recorder(const QString& name) const
{
    for (int row = 0; row < module().recorders()->count(); ++row) {
        const auto* const recorder = qobject_cast<Recorder*>(module().recorders()->get(row));
        if (recorder->classInstance()->name() == name) {
            return recorder->recorderInstances().value(0);
        }
    }
    return nullptr;
}

RecorderInstance* Stage::addRecorder(const QString& name, const QStringList& options, const QString& machine)
{
    SystemDocumentHandler* const handler = SystemDocumentHandler::instance();
    auto* const added = new SystemViewClassInstance(QString(),
        handler->library()->getClassWithUUID(ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID), name, QPointF(),
        handler->currentSystemView());
    addLine(*added, options, machine);
    handler->currentSystemView()->addInstance(added);
    settle();
    return recorder(name);
}

void Stage::addLaunchLine(const QString& name, const QStringList& options, const QString& machine)
{
    addLine(*instance(name), options, machine);
    settle();
}

ScriptedRecorder Stage::started(RecorderInstance* recorder)
{
    ModuleFixture::run(recorder);
    QuenaryDouble::clearCalls();
    return ScriptedRecorder(recorder);
}

// ---- what is shown ----------------------------------------------------------------------------------------------

void Stage::open(RecorderInstance* recorder, Tab tab)
{
    showRecorders();
    module().setcurrentRecorder(recorder);
    settle();
    item(QStringLiteral("recorderTabs"))->setProperty("currentIndex", tab);
    settle();
}

void Stage::pointAt(const QString& path, int index)
{
    const QPoint place = middle(path, index);
    QTest::mouseMove(&shownWindow(), place - QPoint(2, 0));
    settle();
    QTest::mouseMove(&shownWindow(), place);
    if (!QTest::qWaitFor([this] { return isShown(QStringLiteral("hint")); })) {
        qWarning("Nothing is said of %s", qPrintable(path));
    }
}
