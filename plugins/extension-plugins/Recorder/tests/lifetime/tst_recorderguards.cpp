// SPDX-License-Identifier: Apache-2.0
#include "modulefixture.h"
#include "privatemember.h"

#include <host.h>
#include <networkagents.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>

#include <QtCore/QMetaProperty>
#include <QtTest/QSignalSpy>

#include <functional>

static void (RecorderInstance::*setExportRecord)(RecorderRecord*) = nullptr;
template struct OpenMember<setExportRecord, &RecorderInstance::_setexportRecord>;

namespace {

/// One of every object of the module, and of what its instances point to, all apart from the open document.
class Objects
{
public:
    Objects()
        : view(new SystemView(QString(), QStringLiteral("View"), SystemDocumentHandler::instance()->currentSystemDocument()))
        , classInstance(newClassInstance())
        , group(newGroup())
        , info(newInfo(group))
        , recorder(std::make_unique<Recorder>(newClassInstance(), ModuleFixture::executablePath(), nullptr))
        , instance(std::make_unique<RecorderInstance>(
              view, classInstance, group, info, ModuleFixture::executablePath(), nullptr))
    {
    }
    ~Objects()
    {
        QObject* const recorderClassInstance = recorder->classInstance();
        recorder.reset();
        instance.reset();
        delete recorderClassInstance;
        delete view;
    }
    Q_DISABLE_COPY_MOVE(Objects)

    SystemViewClassInstance* newClassInstance() const
    {
        return new SystemViewClassInstance(
            QString(), nullptr, QStringLiteral("Rec"), QPointF(), fixtureView());
    }
    EncounteredAgentsOnHost* newGroup() { return new EncounteredAgentsOnHost(&host, &groupOwner); }
    static EncounteredAgentInfo* newInfo(EncounteredAgentsOnHost* group)
    {
        return new EncounteredAgentInfo(
            QString(), ModuleFixture::commandLine({ QStringLiteral("--name"), QStringLiteral("Rec") }), group);
    }
    RunningAgentInfo* newRunningAgentInfo()
    {
        NetworkAgent agent;
        agent.uuid = QStringLiteral("agent");
        return new RunningAgentInfo(agent, &host, true, nullptr);
    }
    static RecorderRecord* newRecord()
    {
        return new RecorderRecord(RECORD_A, QStringLiteral("A"), QDateTime(), QDateTime(), 1, nullptr);
    }
    RecorderRecord* newRecordFromFile()
    {
        instance->recordLoaded(QStringLiteral("/data/a.csv"), QDateTime(), 1.0, QStringLiteral("[\"a\"]"));
        return instance->recordFromFile();
    }

    static SystemView* fixtureView() { return SystemDocumentHandler::instance()->currentSystemView(); }

    ModuleFixture fixture;
    Host host { QStringLiteral("elsewhere") };
    QObject groupOwner;
    SystemView* view;
    SystemViewClassInstance* classInstance;
    EncounteredAgentsOnHost* group;
    EncounteredAgentInfo* info;
    std::unique_ptr<Recorder> recorder;
    std::unique_ptr<RecorderInstance> instance;
    RecorderRecord record { RECORD_B, QStringLiteral("B"), QDateTime(), QDateTime(), 1, nullptr };
};

/// A property that points to what its object does not own.
struct Guarded
{
    const QMetaObject& type;
    const char* property;
    std::function<QObject*(Objects&)> holder;
    /// Lets the property hold an object, and returns that; another one at each call, if it can be another.
    std::function<QObject*(Objects&)> hold;
    bool canHoldAnother = true;
};

const QList<Guarded>& guardedProperties()
{
    const auto instance = [](Objects& objects) -> QObject* { return objects.instance.get(); };
    static const QList<Guarded> all {
        { RecorderModule::staticMetaObject, "currentRecorder",
            [](Objects& objects) -> QObject* { return &objects.fixture.module(); },
            [](Objects& objects) -> QObject* {
                auto* const recorder = new RecorderInstance(objects.view, objects.classInstance, objects.group,
                    objects.info, ModuleFixture::executablePath(), nullptr);
                objects.fixture.module().setcurrentRecorder(recorder);
                return recorder;
            } },
        { Recorder::staticMetaObject, "classInstance",
            [](Objects& objects) -> QObject* { return objects.recorder.get(); },
            [](Objects& objects) -> QObject* { return objects.recorder->classInstance(); }, false },
        { RecorderInstance::staticMetaObject, "systemView", instance,
            [](Objects& objects) -> QObject* { return std::exchange(objects.view, nullptr); }, false },
        { RecorderInstance::staticMetaObject, "instance", instance,
            [](Objects& objects) -> QObject* { return objects.classInstance; }, false },
        { RecorderInstance::staticMetaObject, "encounteredAgentsOnHost", instance,
            [](Objects& objects) -> QObject* {
                EncounteredAgentsOnHost* const group = objects.newGroup();
                objects.instance->onEncounteredAgentsOnHostCreated(group, objects.info);
                return group;
            } },
        { RecorderInstance::staticMetaObject, "encounteredAgentInfo", instance,
            [](Objects& objects) -> QObject* {
                EncounteredAgentInfo* const info = Objects::newInfo(objects.group);
                objects.instance->onEncounteredAgentsOnHostCreated(objects.group, info);
                return info;
            } },
        { RecorderInstance::staticMetaObject, "runningAgentInfo", instance,
            [](Objects& objects) -> QObject* {
                RunningAgentInfo* const info = objects.newRunningAgentInfo();
                objects.instance->updateFromRunningAgentInfo(info);
                return info;
            } },
        { RecorderInstance::staticMetaObject, "currentRecord", instance,
            [](Objects& objects) -> QObject* {
                RecorderRecord* const record = Objects::newRecord();
                objects.instance->setcurrentRecord(record);
                return record;
            } },
        { RecorderInstance::staticMetaObject, "recordFromFile", instance,
            [](Objects& objects) -> QObject* { return objects.newRecordFromFile(); } },
        { RecorderInstance::staticMetaObject, "exportRecord", instance,
            [](Objects& objects) -> QObject* {
                RecorderRecord* const record = Objects::newRecord();
                (objects.instance.get()->*setExportRecord)(record);
                return record;
            } },
        { RecorderRecord::staticMetaObject, "speed", [](Objects& objects) -> QObject* { return &objects.record; },
            [](Objects& objects) -> QObject* {
                auto* const speed = new Speed(1.5, nullptr);
                objects.record.updateSpeed(speed);
                return speed;
            } },
    };
    return all;
}

} // namespace

/// Whoever points to what it does not own forgets it when that is destroyed, and says so.
class tst_RecorderGuards : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyPropertyThatPointsToAnObjectIsTested();
    void anObjectThatIsDestroyedIsForgotten_data();
    void anObjectThatIsDestroyedIsForgotten();
    void anObjectThatWasLetGoOfMayBeDestroyed_data();
    void anObjectThatWasLetGoOfMayBeDestroyed();
};

void tst_RecorderGuards::everyPropertyThatPointsToAnObjectIsTested()
{
    QStringList tested;
    for (const Guarded& guarded : guardedProperties()) {
        tested.append(QStringLiteral("%1::%2").arg(guarded.type.className(), guarded.property));
    }
    QStringList pointing;
    for (const QMetaObject* type : { &RecorderModule::staticMetaObject, &Recorder::staticMetaObject,
             &RecorderInstance::staticMetaObject, &RecorderRecord::staticMetaObject,
             &RecordAgentFilter::staticMetaObject }) {
        for (int i = type->propertyOffset(); i < type->propertyCount(); ++i) {
            const QMetaProperty property = type->property(i);
            if (property.metaType().flags().testFlag(QMetaType::PointerToQObject) && !property.isConstant()) {
                pointing.append(QStringLiteral("%1::%2").arg(type->className(), property.name()));
            }
        }
    }
    QCOMPARE(tested, pointing);
}

void tst_RecorderGuards::anObjectThatIsDestroyedIsForgotten_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < guardedProperties().size(); ++i) {
        const Guarded& guarded = guardedProperties().at(i);
        QTest::addRow("%s::%s", guarded.type.className(), guarded.property) << i;
    }
}

void tst_RecorderGuards::anObjectThatIsDestroyedIsForgotten()
{
    QFETCH(int, index);
    const Guarded& guarded = guardedProperties().at(index);
    Objects objects;
    QObject* const holder = guarded.holder(objects);
    const QMetaProperty property
        = guarded.type.property(guarded.type.indexOfProperty(guarded.property));
    QObject* const held = guarded.hold(objects);
    QVERIFY(held);
    QCOMPARE(property.read(holder).value<QObject*>(), held);
    QSignalSpy changed(holder, property.notifySignal());
    delete held;
    QCOMPARE(property.read(holder).value<QObject*>(), nullptr);
    QCOMPARE(changed.count(), 1);
}

void tst_RecorderGuards::anObjectThatWasLetGoOfMayBeDestroyed_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < guardedProperties().size(); ++i) {
        const Guarded& guarded = guardedProperties().at(i);
        if (guarded.canHoldAnother) {
            QTest::addRow("%s::%s", guarded.type.className(), guarded.property) << i;
        }
    }
}

void tst_RecorderGuards::anObjectThatWasLetGoOfMayBeDestroyed()
{
    QFETCH(int, index);
    const Guarded& guarded = guardedProperties().at(index);
    Objects objects;
    QObject* const holder = guarded.holder(objects);
    const QMetaProperty property
        = guarded.type.property(guarded.type.indexOfProperty(guarded.property));
    const QPointer<QObject> before = guarded.hold(objects);
    const QPointer<QObject> held = guarded.hold(objects);
    QVERIFY(held != before);
    QSignalSpy changed(holder, property.notifySignal());
    delete before;
    QCOMPARE(property.read(holder).value<QObject*>(), held.data());
    QCOMPARE(changed.count(), 0);
    // The properties' own tests destroy what is held last.
    const bool isOwned = held->parent();
    objects.fixture.destroyModule();
    if (!isOwned) {
        delete held;
    }
}

QTEST_MAIN(tst_RecorderGuards)
#include "tst_recorderguards.moc"
