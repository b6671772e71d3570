// SPDX-License-Identifier: Apache-2.0
#include "modulefixture.h"

#include <corvaneutils.h>
#include <library.h>
#include <networkconfiguration.h>
#include <reservedagentandtoolfamilies.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>
#include <systemviewclassplugin.h>
#include <systemviewmanager.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QProcess>

ModuleFixture::ModuleFixture(const QString& recorderExecutablePath)
{
    // The offscreen platform warns of what it does not do with windows.
    QTest::failOnWarning(QRegularExpression(QStringLiteral("^(?!This plugin does not support)")));
    QuenaryDouble::reset();
    settle();
    SystemDocumentHandler::instance()->newDocument();
    settle();
    _module = std::make_unique<RecorderModule>(
        recorderExecutablePath.isNull() ? executablePath() : recorderExecutablePath, nullptr);
}

ModuleFixture::~ModuleFixture()
{
    _module.reset();
    settle();
    QuenaryDouble::reset();
    settle();
    SystemDocumentHandler::instance()->closeDocument();
    settle();
}

QString ModuleFixture::executablePath()
{
    return QFileInfo(QStringLiteral("/bin/true")).canonicalFilePath();
}

SystemViewClassInstance* ModuleFixture::addRecorder(const QString& name, const QString& commandLine)
{
    SystemDocumentHandler* const handler = SystemDocumentHandler::instance();
    SystemView* const view = handler->currentSystemView();
    auto* const classInstance = new SystemViewClassInstance(QString(),
        handler->library()->getClassWithUUID(ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID), name, QPointF(), view);
    classInstance->getOrCreateEncounteredAgentInfo(classInstance->getOrCreateEncounteredAgentsOnHostAttachedToCorvane(),
        commandLine.isNull() ? ModuleFixture::commandLine({ "--name", name, "--cassandra", "db:9042" }) : commandLine);
    return view->addInstance(classInstance) ? classInstance : nullptr;
}

Recorder* ModuleFixture::recorderOf(SystemViewClassInstance* classInstance)
{
    for (int row = 0; row < _module->recorders()->count(); ++row) {
        auto* const recorder = qobject_cast<Recorder*>(_module->recorders()->get(row));
        if (recorder->classInstance() == classInstance) {
            return recorder;
        }
    }
    return nullptr;
}

RecorderInstance* ModuleFixture::firstInstanceOf(SystemViewClassInstance* classInstance)
{
    return recorderOf(classInstance)->recorderInstances().value(0);
}

QString ModuleFixture::commandLine(const QStringList& arguments)
{
    return CorvaneUtils::joinCommand(executablePath(), arguments);
}

QuenaryDouble::Agent ModuleFixture::agentOf(RecorderInstance* instance, const QString& uuid)
{
    QStringList arguments = QProcess::splitCommand(instance->encounteredAgentInfo()->commandLine());
    QuenaryDouble::Agent agent;
    agent.executable = arguments.takeFirst();
    agent.arguments = arguments;
    agent.uuid = uuid;
    agent.name = instance->name();
    agent.family = ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID;
    agent.hostName = NetworkConfiguration::instance()->localNetworkName();
    agent.processId = ENDED_PROCESS;
    return agent;
}

void ModuleFixture::enter(const QuenaryDouble::Agent& agent)
{
    QuenaryDouble::enter(agent);
    settle();
}

void ModuleFixture::leave(const QString& agentUuid, QuenaryDouble::Exit how)
{
    QuenaryDouble::leave(agentUuid, how);
    settle();
}

QuenaryDouble::Agent ModuleFixture::run(RecorderInstance* instance)
{
    const QuenaryDouble::Agent agent = agentOf(instance, QUuid::createUuid().toString(QUuid::WithoutBraces));
    enter(agent);
    return agent;
}

RecorderInstance* ModuleFixture::addRunningRecorder(const QString& name)
{
    RecorderInstance* const instance = firstInstanceOf(addRecorder(name));
    run(instance);
    QuenaryDouble::clearCalls();
    return instance;
}

void ModuleFixture::settle()
{
    // Deferred deletions may post others.
    for (int i = 0; i < 3; ++i) {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

QStringList Told::texts() const
{
    QStringList texts;
    for (const QList<QVariant>& raised : _raised) {
        texts.append(raised.first().toString());
    }
    return texts;
}

// ---- the recorder's side ----------------------------------------------------------------------------------------

ScriptedRecorder::ScriptedRecorder(RecorderInstance* instance)
    : _token(instance->uuid())
    , _sender { instance->name(), instance->agentInstanceUuid() }
{
}

void ScriptedRecorder::reply(const QString& service, const QVariantList& arguments)
{
    replyWithToken(service, arguments, _token);
}

void ScriptedRecorder::replyWithToken(const QString& service, const QVariantList& arguments, const QString& token)
{
    QVERIFY2(QuenaryDouble::callService(service, arguments, token, _sender), qPrintable(service));
    ModuleFixture::settle();
}

void ScriptedRecorder::records(const QString& json)
{
    reply(QStringLiteral("records"), { json });
}

void ScriptedRecorder::loaded(const QString& recordUuid, double duration, const QString& agents)
{
    reply(QStringLiteral("loaded"), { recordUuid, QStringLiteral("2026-11-21T10:00:00.000"), duration, agents });
}

void ScriptedRecorder::progress(const QString& input, double seconds)
{
    QVERIFY2(QuenaryDouble::writeInput(input, seconds), qPrintable(input));
    ModuleFixture::settle();
}

QuenaryDouble::ServiceCall lastServiceCall()
{
    return QuenaryDouble::serviceCalls().isEmpty() ? QuenaryDouble::ServiceCall()
                                                   : QuenaryDouble::serviceCalls().last();
}

void compareCall(
    const RecorderInstance* instance, const char* service, const QVariantList& arguments, const QString& token)
{
    QCOMPARE(QuenaryDouble::calledServices(), QStringList(QString::fromLatin1(service)));
    compareCall(lastServiceCall(), instance, service, arguments, token);
    QuenaryDouble::clearCalls();
}

void compareCall(const QuenaryDouble::ServiceCall& call, const RecorderInstance* instance, const char* service,
    const QVariantList& arguments, const QString& token)
{
    QCOMPARE(call.agent, instance->agentInstanceUuid());
    QCOMPARE(call.service, QString::fromLatin1(service));
    QCOMPARE(call.arguments, arguments);
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        QCOMPARE(call.arguments.at(i).typeId(), arguments.at(i).typeId());
    }
    QCOMPARE(call.hasArgumentList, !arguments.isEmpty());
    QCOMPARE(call.token, token.isNull() ? instance->uuid() : token);
}

LoadedRecorder::LoadedRecorder()
    : instance(fixture.addRunningRecorder())
    , recorder(instance)
{
    recorder.records(u'[' + recordJson(RECORD_A, QStringLiteral("First")) + u','
        + recordJson(RECORD_B, QStringLiteral("Second")) + u']');
    record = qobject_cast<RecorderRecord*>(instance->records()->get(0));
    other = qobject_cast<RecorderRecord*>(instance->records()->get(1));
    instance->loadRecord(record);
    recorder.loaded(RECORD_A, 3.0, QStringLiteral(R"(["a","b","c"])"));
    QuenaryDouble::clearCalls();
}

void LoadedRecorder::context(const QString& replayId, double progress, double speed, bool isRunning,
    const QString& agents, const QString& filter, const QString& recordId)
{
    recorder.reply(QStringLiteral("context"),
        { replayId, QStringLiteral("2026-11-21T10:00:00.000"), 4.5, progress, speed, isRunning, agents, filter,
            recordId });
}

QString recordJson(const QString& uuid, const QString& name, qint64 durationInMicroseconds, const QString& startDate,
    const QString& endDate)
{
    return QStringLiteral(R"({"uuid":"%1","name":"%2","duration_us":%3,"start_date":"%4","end_date":"%5"})")
        .arg(uuid, name, QString::number(durationInMicroseconds), startDate, endDate);
}

// ---- meta-objects -----------------------------------------------------------------------------------------------

QStringList methodSignatures(const QMetaObject& metaObject, QMetaMethod::MethodType type)
{
    QStringList signatures;
    for (int i = metaObject.methodOffset(); i < metaObject.methodCount(); ++i) {
        if (metaObject.method(i).methodType() == type) {
            signatures.append(QString::fromLatin1(metaObject.method(i).methodSignature()));
        }
    }
    return signatures;
}
