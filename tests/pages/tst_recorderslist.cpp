// SPDX-License-Identifier: Apache-2.0
#include "pages.h"
#include "pagetest.h"

#include <networkconfiguration.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>
#include <systemviewclassinstance.h>

#include <QtTest/QSignalSpy>

/// The list of recorders: what it says of each, and what each offers.
class RecordersListTests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aSystemWithoutRecordersSaysWhatToDoNext();
    void theCreateButtonAddsARecorderAndOpensIt();
    void nothingCanBeCreatedWithoutADocument();
    void everyRecorderStandsWithItsInstancesInTheOrderOfTheSortedViews();
    void hostileNamesAreNoMarkup();
    void anEntrySaysWhereItsRecorderIsAndWhatItDoes();
    void theConnectButtonStartsAgentsOnlyWhileTheyCanBeStarted();
    void theConnectButtonSaysWhatItWaitsFor();
    void theDisconnectButtonAsksTheAgentToStop();
    void anEntryIsOpenedWithItsButtonAClickAndTheKeyboard_data();
    void anEntryIsOpenedWithItsButtonAClickAndTheKeyboard();
    void aRecorderIsDeletedOnceThatIsAgreedTo();
    void aRunningRecorderCanNotBeDeleted();
};

namespace {

QStringList allTexts(const QQuickItem* within)
{
    QStringList texts;
    const QList<QQuickItem*> children = within->childItems();
    for (const QQuickItem* const child : children) {
        if (child->isVisible()) {
            const QString text = child->property("text").toString();
            if (!text.isEmpty()) {
                texts.append(text);
            }
            texts += allTexts(child);
        }
    }
    return texts;
}

} // namespace

void RecordersListTests::aSystemWithoutRecordersSaysWhatToDoNext()
{
    Pages pages;
    QVERIFY(allTexts(pages.item("recordersPage")).contains("Recorders list"));
    QCOMPARE(pages.property("recordersHint", "title").toString(), "No recorder yet");
    QCOMPARE(pages.text("recordersHint"), "Press New recorder to add one, connect it, and record.");
    pages.fixture.addRecorder("Plant");
    Pages::settle();
    QVERIFY(!pages.isShown("recordersHint"));
}

void RecordersListTests::theCreateButtonAddsARecorderAndOpensIt()
{
    Pages pages;
    pages.fixture.addRecorder("Zebra");
    pages.click("createRecorderButton");
    QCOMPARE(pages.module.recorders()->count(), 2);
    RecorderInstance* const made = pages.module.currentRecorder();
    QVERIFY(made);
    QVERIFY(made->name() != QStringLiteral("Zebra"));
    QCOMPARE(pages.text("configurationPage/recorderName"), made->name());
}

void RecordersListTests::nothingCanBeCreatedWithoutADocument()
{
    Pages pages;
    SystemDocumentHandler::instance()->closeDocument();
    Pages::settle();
    QVERIFY(!pages.isAvailable("createRecorderButton"));
    QCOMPARE(pages.hint("createRecorderButton"), "Open a system document first");
    QCOMPARE(pages.text("recordersHint"), "Open a system document to add recorders to it.");
}

void RecordersListTests::everyRecorderStandsWithItsInstancesInTheOrderOfTheSortedViews()
{
    Pages pages;
    pages.fixture.addRecorder("Zebra");
    SystemViewClassInstance* const ant = pages.fixture.addRecorder("Ant");
    pages.fixture.addRecorder("Monkey");
    auto* const document = SystemDocumentHandler::instance()->currentSystemDocument();
    for (const char* const host : { "bench-03", "bench-02" }) {
        ant->getOrCreateEncounteredAgentInfo(
            ant->getOrCreateEncounteredAgentsOnHost(document->getOrCreateHost(host)),
            ModuleFixture::commandLine({ "--name", "Ant", "--cassandra", QString(host) + ":9042" }));
    }
    Pages::settle();
    QCOMPARE(pages.texts("recorderTitle"), QStringList({ "Ant", "Monkey", "Zebra" }));
    QCOMPARE(pages.items("recorderInstance").size(), 5);

    QList<RecorderInstance*> shown;
    const QList<QQuickItem*> items = pages.items("recorderInstance");
    for (const QQuickItem* const item : items) {
        shown.append(item->property("recorder").value<RecorderInstance*>());
    }
    QList<RecorderInstance*> sorted;
    Recorder* const recorder = pages.fixture.recorderOf(ant);
    for (int row = 0; row < 3; ++row) {
        const QModelIndex index = recorder->sortedInstances()->index(row, 0);
        const int role = recorder->sortedInstances()->roleNames().key("qtObject");
        sorted.append(recorder->sortedInstances()->data(index, role).value<RecorderInstance*>());
    }
    QCOMPARE(shown.first(3), sorted);
    QVERIFY(allTexts(pages.item("recordersPage")).contains("3 instances"));
}

void RecordersListTests::hostileNamesAreNoMarkup()
{
    Pages pages;
    pages.fixture.addRecorder("<b>Night</b> <img src=x>");
    Pages::settle();
    QCOMPARE(pages.text("recorderTitle"), "<b>Night</b> <img src=x>");
    QCOMPARE(pages.property("recorderTitle", "textFormat").toInt(), int(Qt::PlainText));
}

void RecordersListTests::anEntrySaysWhereItsRecorderIsAndWhatItDoes()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Plant"));
    Pages::settle();
    QCOMPARE(allTexts(pages.item("recorderInstance")).first(3), QStringList({ "this machine", "db:9042", "Off" }));
    QCOMPARE(pages.text("recorderProgress"), "");

    ModuleFixture::run(instance);
    ScriptedRecorder recorder(instance);
    QCOMPARE(allTexts(pages.item("recorderInstance")).at(2), "Ready");
    recorder.progress(instance->recordProgressInput(), 3723.4);
    QCOMPARE(allTexts(pages.item("recorderInstance")).at(2), "Recording");
    QCOMPARE(pages.text("recorderProgress"), "01 : 02 : 03");
    recorder.reply("recording_stopped");

    recorder.records(u'[' + recordJson(RECORD_A, "Night <b>run</b>", 300000000) + u']');
    auto* const record = qobject_cast<RecorderRecord*>(instance->records()->get(0));
    instance->loadRecord(record);
    Pages::settle();
    QCOMPARE(allTexts(pages.item("recorderInstance")).at(2), "Loading");
    recorder.loaded(RECORD_A, 300, "[\"a\"]");
    instance->playRecord(record);
    recorder.progress(instance->replayProgressInput(), 21.3);
    QCOMPARE(allTexts(pages.item("recorderInstance")).at(2), "Replaying");
    QVERIFY2(pages.text("recorderProgress").startsWith("00 : 00 : 21 / 00 : 05 : 00"), qPrintable(pages.text("recorderProgress")));
    QVERIFY(pages.text("recorderProgress").endsWith(QStringLiteral("“Night <b>run</b>”")));
    QCOMPARE(pages.property("recorderProgress", "textFormat").toInt(), int(Qt::PlainText));
}

void RecordersListTests::theConnectButtonStartsAgentsOnlyWhileTheyCanBeStarted()
{
    Pages pages(Pages::Network::Left);
    SystemViewClassInstance* const classInstance = pages.fixture.addRecorder("Plant");
    Pages::settle();
    QCOMPARE(pages.text("connectButton"), "Connect");
    QVERIFY(!pages.isAvailable("connectButton"));
    QCOMPARE(pages.hint("connectButton"), "Please connect your platform");

    NetworkConfiguration::instance()->connectToNetwork();
    Pages::settle();
    QVERIFY(pages.isAvailable("connectButton"));
    QCOMPARE(pages.hint("connectButton"), "Start the recorder's agent");

    auto* const document = SystemDocumentHandler::instance()->currentSystemDocument();
    classInstance->getOrCreateEncounteredAgentInfo(
        classInstance->getOrCreateEncounteredAgentsOnHost(document->getOrCreateHost("bench-02")),
        ModuleFixture::commandLine({ "--name", "Plant" }));
    Pages::settle();
    int elsewhere = -1;
    for (int i = 0; i < 2; ++i) {
        if (!pages.item("recorderInstance", i)->property("recorder").value<RecorderInstance*>()->isRunnable()) {
            elsewhere = i;
        }
    }
    QVERIFY(elsewhere >= 0);
    QVERIFY(!pages.isAvailable("connectButton", elsewhere));
    QCOMPARE(pages.hint("connectButton", elsewhere),
        "This recorder cannot be started from here: its machine has no launcher");
}

void RecordersListTests::theConnectButtonSaysWhatItWaitsFor()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Plant"));
    Pages::settle();
    pages.click("connectButton"); // starts a program that ends at once
    QCOMPARE(pages.text("connectButton"), "Connecting…");
    QVERIFY(!pages.isAvailable("connectButton"));
    QCOMPARE(pages.hint("connectButton"), "Waiting for the recorder to be seen on the network");

    ModuleFixture::run(instance);
    QCOMPARE(pages.text("connectButton"), "Disconnect");
    QVERIFY(pages.isAvailable("connectButton"));
}

void RecordersListTests::theDisconnectButtonAsksTheAgentToStop()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder();
    const QString uuid = instance->agentInstanceUuid();
    pages.click("connectButton");
    QCOMPARE(QuenaryDouble::stopRequests(), QStringList(uuid));
    QCOMPARE(pages.text("connectButton"), "Disconnecting…");
    // What it does is seen from the network, not from the click.
    QVERIFY(instance->isOn());

    ModuleFixture::leave(uuid);
    QCOMPARE(pages.text("connectButton"), "Connect");
}

void RecordersListTests::anEntryIsOpenedWithItsButtonAClickAndTheKeyboard_data()
{
    QTest::addColumn<QString>("how");
    for (const char* const how : { "button", "click", "Return", "Enter", "Space" }) {
        QTest::newRow(how) << QString(how);
    }
}

void RecordersListTests::anEntryIsOpenedWithItsButtonAClickAndTheKeyboard()
{
    QFETCH(const QString, how);
    Pages pages;
    pages.fixture.addRecorder("Ant");
    RecorderInstance* const bee = pages.fixture.firstInstanceOf(pages.fixture.addRecorder("Bee"));
    Pages::settle();
    if (how == QStringLiteral("button")) {
        pages.click("configureButton", 1);
    } else if (how == QStringLiteral("click")) {
        const QQuickItem* const entry = pages.item("recorderInstance", 1);
        QTest::mouseClick(&pages.window, Qt::LeftButton, {}, entry->mapToScene(QPointF(40, entry->height() / 2)).toPoint());
        Pages::settle();
    } else {
        pages.focusOn("recorderInstance", 1);
        pages.key(how == QStringLiteral("Return") ? Qt::Key_Return : how == QStringLiteral("Enter") ? Qt::Key_Enter : Qt::Key_Space);
    }
    QCOMPARE(pages.module.currentRecorder(), bee);
    QVERIFY(pages.isShown("configurationPage"));
}

void RecordersListTests::aRecorderIsDeletedOnceThatIsAgreedTo()
{
    Pages pages;
    pages.fixture.addRecorder("Ant");
    pages.fixture.addRecorder("Bee");
    Pages::settle();

    pages.click("deleteRecorderButton", 1);
    QCOMPARE(pages.text("question"), "Do you want to delete recorder 'Bee' ?");
    QCOMPARE(pages.text("declineButton"), "Cancel");
    QCOMPARE(pages.text("acceptButton"), "DELETE");
    pages.click("declineButton");
    QVERIFY(!pages.isShown("question"));
    QCOMPARE(pages.texts("recorderTitle"), QStringList({ "Ant", "Bee" }));

    pages.focusOn("recorderInstance", 1);
    pages.key(Qt::Key_Delete);
    QCOMPARE(pages.text("question"), "Do you want to delete recorder 'Bee' ?");
    // While it fades, the recorder has gone already.
    QSignalSpy changes(pages.item("question"), SIGNAL(textChanged(QString)));
    QVERIFY(changes.isValid());
    pages.click("acceptButton");
    QVERIFY(!pages.isShown("question"));
    QCOMPARE(changes.count(), 0);
    QCOMPARE(pages.texts("recorderTitle"), QStringList({ "Ant" }));
}

void RecordersListTests::aRunningRecorderCanNotBeDeleted()
{
    Pages pages;
    RecorderInstance* const instance = pages.fixture.addRunningRecorder("Ant");
    QVERIFY(!pages.isAvailable("deleteRecorderButton"));
    QTest::mouseMove(&pages.window, QPoint(1, 1));
    QVERIFY(!pages.property("recorderInstance", "containsMouse").toBool());
    QTest::mouseMove(&pages.window, pages.middle("deleteRecorderButton"));
    QTRY_COMPARE(pages.texts("hint"), QStringList({ "Disconnect the recorder to delete it" }));
    QVERIFY2(pages.property("recorderInstance", "containsMouse").toBool(), "the row does not feel the pointer over its button");
    pages.click("deleteRecorderButton");
    QVERIFY2(!pages.module.currentRecorder(), "the press went through to the row");
    pages.focusOn("recorderInstance");
    pages.key(Qt::Key_Delete);
    QVERIFY(!pages.isShown("question"));

    // One that appears while the question stands takes it away.
    const QString uuid = instance->agentInstanceUuid();
    ModuleFixture::leave(uuid);
    pages.click("deleteRecorderButton");
    QVERIFY(pages.isShown("question"));
    ModuleFixture::run(instance);
    QVERIFY(!pages.isShown("question"));
    QCOMPARE(pages.module.recorders()->count(), 1);
}

static const RegisterPageTest<RecordersListTests> recordersListTests;

#include "tst_recorderslist.moc"
