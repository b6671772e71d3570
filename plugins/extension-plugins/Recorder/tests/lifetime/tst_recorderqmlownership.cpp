// SPDX-License-Identifier: Apache-2.0
#include "modulefixture.h"

#include "qmlsortfilterrecords.h"
#include "recorderplugin.h"

#include <corvaneqmltypes.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>

#include <QtCore/QPointer>
#include <QtQml/QJSValue>
#include <QtQml/QQmlComponent>
#include <QtQml/QQmlContext>
#include <QtQml/QQmlEngine>
#include <QtQml/QQmlExpression>

#include <memory>

namespace {

const QString EMPTY_PAGE = QStringLiteral("import QtQml\nimport RecordAndReplay\nQtObject { property var held }");

/// A module in the middle of its work: one recorder runs and replays a record, and downloads it; another is off.
class Scene
{
public:
    Scene()
        : instance(fixture.addRunningRecorder(QStringLiteral("Rec")))
        , recorder(instance)
    {
        fixture.addRecorder(QStringLiteral("Other"));
        recorder.records(u'[' + recordJson(RECORD_A, QStringLiteral("A")) + u','
            + recordJson(RECORD_B, QStringLiteral("B")) + u']');
        record = qobject_cast<RecorderRecord*>(instance->records()->itemAt(0));
        instance->loadRecord(record);
        recorder.loaded(RECORD_A, 3.0, QStringLiteral(R"(["pump","tank"])"));
        fixture.module().setcurrentRecorder(instance);
    }

    /// Everything that the module, or the host, owns and scripts can reach.
    QList<QPointer<QObject>> owned()
    {
        QList<QPointer<QObject>> objects { &fixture.module() };
        const auto addList = [&objects](AbstractZqCustomItemListModel* list) {
            objects.append(list);
            for (int row = 0; row < list->count(); ++row) {
                objects.append(list->itemAt(row));
            }
        };
        addList(fixture.module().recorders());
        objects.append(fixture.module().sortedRecorders());
        for (int row = 0; row < fixture.module().recorders()->count(); ++row) {
            auto* const registry = qobject_cast<Recorder*>(fixture.module().recorders()->itemAt(row));
            addList(registry->instances());
            objects.append(registry->sortedInstances());
            for (RecorderInstance* each : registry->recorderInstances()) {
                addList(each->records());
                objects += { each->systemView(), each->instance(), each->encounteredAgentsOnHost(),
                    each->encounteredAgentInfo() };
            }
        }
        addList(record->agentsFilters());
        addList(record->speeds());
        objects.append(instance->runningAgentInfo());
        objects.append(SystemDocumentHandler::instance()->currentSystemDocument());
        return objects;
    }

    ModuleFixture fixture;
    RecorderInstance* instance;
    ScriptedRecorder recorder;
    RecorderRecord* record = nullptr;
};

/// Tells scripts the numbers of a list's roles.
class Roles : public QObject
{
    Q_OBJECT

public:
    Q_INVOKABLE static QList<int> of(const QAbstractItemModel* list) { return list->roleNames().keys(); }
};

/// An engine as the host makes it, with the module as context of a page.
class Engine
{
public:
    explicit Engine(RecorderModule& module, const QString& page = EMPTY_PAGE)
    {
        static const RecorderPlugin types;
        registerCorvaneQmlTypes();
        engine.rootContext()->setContextProperty(QStringLiteral("module"), &module);
        engine.rootContext()->setContextProperty(QStringLiteral("roles"), &roles);
        QQmlComponent component(&engine);
        component.setData(page.toUtf8(), QUrl());
        root.reset(component.create());
        problem = component.errorString();
    }

    /// Runs a script in the page, and says what went wrong.
    QString run(const QString& script) const
    {
        QQmlExpression expression(qmlContext(root.get()), root.get(), script);
        expression.evaluate();
        return expression.hasError() ? expression.error().toString() : QString();
    }
    /// The engine may delete at any time what it thinks is its own: does it now, and again.
    void collectGarbage()
    {
        for (int i = 0; i < 3; ++i) {
            engine.collectGarbage();
            ModuleFixture::settle();
        }
    }

    Roles roles;
    QQmlEngine engine;
    std::unique_ptr<QObject> root;
    QString problem;
};

// Every way to an object. What a script gets is kept nowhere.
constexpr char BY_PROPERTIES[] = R"({
    const seen = new Set();
    const visit = (object, depth) => {
        if (!object || typeof object !== "object" || seen.has(object) || depth > 6)
            return;
        seen.add(object);
        for (const key in object)
            visit(object[key], depth + 1);
    };
    visit(module, 0);
    if (seen.size < 20)
        throw new Error("only " + seen.size + " objects");
})";
constexpr char BY_ROW[] = R"({
    let found = 0;
    const visit = (list, next) => {
        for (let row = 0; row < list.rowCount(); ++row) {
            if (!list.get(row))
                throw new Error("no object in row " + row);
            ++found;
            next(list.get(row));
        }
    };
    const nothing = () => {};
    for (const recorders of [module.recorders, module.sortedRecorders])
        visit(recorders, recorder => {
            for (const instances of [recorder.instances, recorder.sortedInstances])
                visit(instances, instance => visit(instance.records, record => {
                    visit(record.agentsFilters, nothing);
                    visit(record.speeds, nothing);
                }));
        });
    if (found < 20)
        throw new Error("only " + found + " objects");
})";
constexpr char BY_LIST[] = R"({
    let found = 0;
    const visit = (list, next) => list.toVariantList().forEach(object => { ++found; next(object); });
    const nothing = () => {};
    visit(module.recorders, recorder => visit(recorder.instances, instance => visit(instance.records, record => {
        visit(record.agentsFilters, nothing);
        visit(record.speeds, nothing);
    })));
    if (found < 10)
        throw new Error("only " + found + " objects");
})";
// Each role of each row, as views read them.
constexpr char BY_ROLE[] = R"({
    let found = 0;
    const visit = list => {
        for (let row = 0; row < list.rowCount(); ++row)
            for (const role of roles.of(list))
                if (typeof list.data(list.index(row, 0), role) === "object")
                    ++found;
    };
    visit(module.recorders);
    visit(module.sortedRecorders);
    for (const recorder of [module.recorders.get(0), module.recorders.get(1)]) {
        visit(recorder.instances);
        visit(recorder.sortedInstances);
        visit(recorder.instances.get(0).records);
    }
    if (found < 30)
        throw new Error("only " + found + " objects");
})";
constexpr char BY_REPLACING[] = R"({
    const records = module.currentRecorder.records;
    const first = records.takeRow ? null : records.get(0);
    records.remove(0);
    const second = records.replaceObject(0, first);
    records.appendObject(second);
    if (records.get(0) !== first || records.get(1) !== second)
        throw new Error("another order");
})";

} // namespace

/// Scripts get the module's objects and never own them; what they make themselves is theirs and goes with them.
class tst_RecorderQmlOwnership : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theEngineDeletesNothingThatAScriptReached_data();
    void theEngineDeletesNothingThatAScriptReached();
    void anObjectOfASignalIsNotDeleted();
    void anObjectThatGoesIsNullForTheScriptThatHoldsIt();
    void theSingletonsOutliveTheEngines();
    void sortedRecordsOfAPageGoWithThePage();
    void sortedRecordsThatNobodyHoldsAreCollected();
    void sortedRecordsMadeByTheProgramAreCollectedToo();
    void everythingThatAModuleOwnsGoesWithIt();
    void whatIsTakenOutGoes();
};

void tst_RecorderQmlOwnership::theEngineDeletesNothingThatAScriptReached_data()
{
    QTest::addColumn<QString>("script");
    QTest::newRow("by properties") << BY_PROPERTIES;
    QTest::newRow("by row") << BY_ROW;
    QTest::newRow("as a list") << BY_LIST;
    QTest::newRow("by role") << BY_ROLE;
    QTest::newRow("by replacing") << BY_REPLACING;
}

void tst_RecorderQmlOwnership::theEngineDeletesNothingThatAScriptReached()
{
    QFETCH(QString, script);
    Scene scene;
    const QList<QPointer<QObject>> owned = scene.owned();
    QVERIFY(owned.size() > 30);
    const auto verifyAlive = [&owned](const char* when) {
        for (qsizetype i = 0; i < owned.size(); ++i) {
            QVERIFY2(owned.at(i), qPrintable(QStringLiteral("object %1 %2").arg(i).arg(QLatin1StringView(when))));
        }
    };
    {
        Engine page(scene.fixture.module());
        QVERIFY2(page.root, qPrintable(page.problem));
        for (int round = 0; round < 2; ++round) {
            QCOMPARE(page.run(script), QString());
            page.collectGarbage();
            verifyAlive("was collected");
        }
    }
    ModuleFixture::settle();
    verifyAlive("went with the engine");
    QVERIFY(scene.instance->isOn());
    QCOMPARE(scene.instance->currentRecord(), scene.record);
}

void tst_RecorderQmlOwnership::anObjectOfASignalIsNotDeleted()
{
    Scene scene;
    const QPointer<RecorderRecord> record = scene.record;
    {
        Engine page(scene.fixture.module(), QStringLiteral(R"(
            import QtQml
            QtObject {
                property int heard: 0
                property Connections connections: Connections {
                    target: module.currentRecorder
                    function onConfirmRecordDeletion(record) { heard += record.name === "A" ? 1 : 0 }
                }
            })"));
        QVERIFY2(page.root, qPrintable(page.problem));
        Q_EMIT scene.instance->confirmRecordDeletion(scene.record);
        QCOMPARE(page.root->property("heard").toInt(), 1);
        page.collectGarbage();
        QVERIFY(record);
    }
    QVERIFY(record);
}

void tst_RecorderQmlOwnership::anObjectThatGoesIsNullForTheScriptThatHoldsIt()
{
    Scene scene;
    Engine page(scene.fixture.module());
    QCOMPARE(page.run(QStringLiteral("held = module.currentRecorder.records.get(1)")), QString());
    scene.recorder.records(u'[' + recordJson(RECORD_A, QStringLiteral("A")) + u']');
    page.collectGarbage();
    QCOMPARE(page.run(QStringLiteral("if (held) throw new Error('still there')")), QString());

    QCOMPARE(page.run(QStringLiteral("held = module.currentRecorder")), QString());
    scene.fixture.destroyModule();
    page.collectGarbage();
    QCOMPARE(page.run(QStringLiteral("if (held) throw new Error('still there')")), QString());
}

void tst_RecorderQmlOwnership::theSingletonsOutliveTheEngines()
{
    Scene scene;
    for (int round = 0; round < 2; ++round) {
        Engine page(scene.fixture.module());
        QCOMPARE(page.run(QStringLiteral(R"(
            if (RecorderUtils.prettyPrintTime(90, RecorderTimeFormat.HH_MM_SS_WITH_SPACES) !== "00 : 01 : 30")
                throw new Error("another time");
            held = [RecorderUtils, RecorderTimeFormat])")),
            QString());
        page.root.reset();
        page.collectGarbage();
    }
}

// ---- what scripts make ------------------------------------------------------------------------------------------

void tst_RecorderQmlOwnership::sortedRecordsOfAPageGoWithThePage()
{
    Scene scene;
    QPointer<QObject> view;
    {
        const Engine page(scene.fixture.module(), QStringLiteral(R"(
            import QtQml
            import RecordAndReplay
            QtObject { property SortFilterRecords view: SortFilterRecords { sourceModel: module.currentRecorder.records } })"));
        QVERIFY2(page.root, qPrintable(page.problem));
        view = page.root->property("view").value<QObject*>();
        QCOMPARE(view->property("count").toInt(), 2);
    }
    QVERIFY(!view);
    // The list has nobody left to tell.
    scene.recorder.records(QStringLiteral("[]"));
    QCOMPARE(scene.instance->records()->count(), 0);
}

void tst_RecorderQmlOwnership::sortedRecordsThatNobodyHoldsAreCollected()
{
    Scene scene;
    Engine page(scene.fixture.module(), QStringLiteral(R"(
        import QtQml
        import RecordAndReplay
        QtObject {
            property var held
            property Component views: Component { SortFilterRecords {} }
            function make() { held = views.createObject(null, { sourceModel: module.currentRecorder.records }) }
        })"));
    QVERIFY2(page.root, qPrintable(page.problem));
    QCOMPARE(page.run(QStringLiteral("make()")), QString());
    const QPointer<QObject> view = page.root->property("held").value<QObject*>();
    page.collectGarbage();
    QVERIFY(view);
    QCOMPARE(page.run(QStringLiteral("held = undefined")), QString());
    page.collectGarbage();
    QVERIFY(!view);
    scene.recorder.records(QStringLiteral("[]"));
}

void tst_RecorderQmlOwnership::sortedRecordsMadeByTheProgramAreCollectedToo()
{
    Scene scene;
    Engine page(scene.fixture.module());
    const QPointer<QmlSortFilterRecords> view = new QmlSortFilterRecords;
    view->setSourceModel(scene.instance->records());
    page.engine.newQObject(view);
    page.collectGarbage();
    QVERIFY(!view);
}

// ---- what nobody holds any more ---------------------------------------------------------------------------------

void tst_RecorderQmlOwnership::everythingThatAModuleOwnsGoesWithIt()
{
    Scene scene;
    Engine page(scene.fixture.module());
    QCOMPARE(page.run(BY_PROPERTIES), QString());
    QList<QPointer<QObject>> owned = scene.owned();
    // The host's own stay.
    owned.removeIf([](const QPointer<QObject>& object) {
        return qobject_cast<SystemView*>(object) || qobject_cast<SystemViewClassInstance*>(object)
            || qobject_cast<EncounteredAgentsOnHost*>(object) || qobject_cast<EncounteredAgentInfo*>(object)
            || qobject_cast<RunningAgentInfo*>(object) || qobject_cast<SystemDocument*>(object);
    });
    QVERIFY(owned.size() > 20);
    scene.fixture.destroyModule();
    ModuleFixture::settle();
    for (qsizetype i = 0; i < owned.size(); ++i) {
        QVERIFY2(!owned.at(i), qPrintable(QStringLiteral("object %1").arg(i)));
    }
}

void tst_RecorderQmlOwnership::whatIsTakenOutGoes()
{
    Scene scene;
    const QPointer<QObject> record = scene.record;
    const QPointer<QObject> filter = scene.record->agentsFilters()->itemAt(0);
    const QPointer<QObject> speed = scene.record->speeds()->itemAt(0);
    scene.instance->unloadRecord(scene.record);
    ModuleFixture::settle();
    QVERIFY(!filter);
    QVERIFY(!speed);
    scene.instance->deleteRecord(scene.record);
    ModuleFixture::settle();
    QVERIFY(!record);

    scene.recorder.loaded(QStringLiteral("/data/a.csv"), 3.0, QStringLiteral(R"(["pump"])"));
    const QPointer<QObject> fileRecord = scene.instance->recordFromFile();
    QVERIFY(fileRecord);
    scene.recorder.loaded(QStringLiteral("/data/b.csv"), 3.0, QStringLiteral(R"(["pump"])"));
    QVERIFY(!fileRecord);

    const QPointer<RecorderInstance> instance = scene.instance;
    const QPointer<QObject> lastRecord = scene.instance->records()->itemAt(0);
    ModuleFixture::leave(instance->agentInstanceUuid());
    QVERIFY(!lastRecord);
    scene.fixture.module().deleteRecorder(instance);
    ModuleFixture::settle();
    QVERIFY(!instance);
    QCOMPARE(scene.fixture.module().currentRecorder(), nullptr);
}

QTEST_MAIN(tst_RecorderQmlOwnership)
#include "tst_recorderqmlownership.moc"
