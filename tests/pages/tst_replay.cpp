// SPDX-License-Identifier: Apache-2.0
#include "pages.h"
#include "pagetest.h"

#include <functional>

/// The replay of the record that a recorder has loaded, each control to its call.
class ReplayTests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void thePlayButtonPlaysAndPauses();
    void nothingIsPlayedWithoutAnAgent();
    void theStopButtonIsThereAwayFromTheStart();
    void thePositionAndTheDurationAreShown();
    void aTypedTimeMovesTheReplay_data();
    void aTypedTimeMovesTheReplay();
    void aTypedTimeThatIsNoneMovesNothing_data();
    void aTypedTimeThatIsNoneMovesNothing();
    void aTypedTimeThatIsWrongSaysWhyAtOnce();
    void noTimeIsTypedWhileTheRecordIsPlayed();
    void theSliderStandsWhereTheReplayIs();
    void pressingTheSliderPausesAndReleasingItMoves();
    void aSliderThatIsTakenFromTheHandMovesNothing_data();
    void aSliderThatIsTakenFromTheHandMovesNothing();
    void theSliderMovesWithKeys();
    void neitherTheSliderNorATypedTimeMovesWhileTheRecorderMoves_data();
    void neitherTheSliderNorATypedTimeMovesWhileTheRecorderMoves();
    void theSpeedIsChosenAmongThoseOfTheRecord();
    void theAgentsAreChosenAtTheStartOnly();
    void everyChangeOfTheAgentsIsSentAtOnce();
    void theListOfAgentsWaitsWhileTheRecorderFilters();
    void theListOfAgentsIsNotInTheWayOfARecorderThatFiltersForLong();
    void allAgentsAreSwitchedAtOnce();
    void manyAgentsCanBeSearched();
    void unloadingEndsTheReplayAndKeepsTheRecord();
};

namespace {

class Replay : public Pages
{
public:
    explicit Replay(int agents = 3, double duration = 300)
        : instance(fixture.addRunningRecorder())
        , recorder(instance)
    {
        recorder.records(u'[' + recordJson(RECORD_A, "First", static_cast<qint64>(duration * 1e6)) + u']');
        record = qobject_cast<RecorderRecord*>(instance->records()->get(0));
        open(instance, Pages::Records);
        instance->loadRecord(record);
        QStringList names;
        for (int i = 0; i < agents; ++i) {
            names.append(QStringLiteral("\"agent %1\"").arg(i, 3, 10, QChar('0')));
        }
        recorder.loaded(RECORD_A, duration, u'[' + names.join(u',') + u']');
        window.grabWindow();
        QuenaryDouble::clearCalls();
    }
    /// Where the slider's handle would stand, in the window.
    QPoint onSlider(double position) const
    {
        const QQuickItem* const slider = item("recordSlider");
        return slider->mapToScene(QPointF(8 + (slider->width() - 16) * position, slider->height() / 2)).toPoint();
    }
    QQuickItem* slider() const { return property("recordSlider", "slider").value<QQuickItem*>(); }
    void filterApplied()
    {
        recorder.reply("filter_applied");
        QuenaryDouble::clearCalls();
    }
    RecordAgentFilter* agent(int index) const { return qobject_cast<RecordAgentFilter*>(record->agentsFilters()->get(index)); }
    /// The replay stands somewhere, and nothing is under way.
    void standAt(double seconds)
    {
        instance->moveCurrentRecordTime(seconds);
        recorder.reply("moved_to", { seconds });
        QuenaryDouble::clearCalls();
    }

    RecorderInstance* instance;
    ScriptedRecorder recorder;
    RecorderRecord* record = nullptr;
};

void ignoreNotPlaying()
{
    QTest::ignoreMessage(QtWarningMsg, "Can not pause record \"First\" because it is not playing");
}

} // namespace

void ReplayTests::thePlayButtonPlaysAndPauses()
{
    Replay pages;
    QCOMPARE(pages.property("playButton", "hint").toString(), "Play");
    pages.click("playButton");
    compareCall(pages.instance, "play", {});
    QVERIFY(pages.record->isReplaying());
    QCOMPARE(pages.property("playButton", "hint").toString(), "Pause");
    pages.click("playButton");
    compareCall(pages.instance, "pause", {});
    // It plays until the recorder says otherwise.
    QCOMPARE(pages.property("playButton", "hint").toString(), "Pause");
    pages.recorder.reply("paused");
    QCOMPARE(pages.property("playButton", "hint").toString(), "Play");
}

void ReplayTests::nothingIsPlayedWithoutAnAgent()
{
    Replay pages;
    QVERIFY(pages.isAvailable("playButton"));
    for (int i = 0; i < 3; ++i) {
        pages.agent(i)->setchecked(false);
    }
    QVERIFY(!pages.isAvailable("playButton"));
    QCOMPARE(pages.hint("playButton"), "Check at least one agent to play");
    pages.click("playButton");
    pages.focusOn("recordsList");
    pages.key(Qt::Key_Space);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    pages.agent(1)->setchecked(true);
    QVERIFY(pages.isAvailable("playButton"));
}

void ReplayTests::theStopButtonIsThereAwayFromTheStart()
{
    Replay pages;
    QVERIFY(!pages.isShown("stopButton"));
    pages.click("playButton");
    QuenaryDouble::clearCalls();
    pages.recorder.progress(pages.instance->replayProgressInput(), 12);
    QVERIFY(pages.isShown("stopButton"));
    pages.click("stopButton");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "pause", "move_to" }));
    compareCall(lastServiceCall(), pages.instance, "move_to", { 0.0 });
    pages.recorder.reply("paused");
    pages.recorder.reply("moved_to", { 0.0 });
    QVERIFY(!pages.isShown("stopButton"));

    // Paused, the module says that there is nothing to pause, and stops all the same.
    pages.standAt(5);
    ignoreNotPlaying();
    pages.click("stopButton");
    compareCall(pages.instance, "move_to", { 0.0 });
}

void ReplayTests::thePositionAndTheDurationAreShown()
{
    Replay pages(3, 3723.34);
    QCOMPARE(pages.text("positionField"), "00:00:00.000");
    QCOMPARE(pages.text("durationText"), "/01:02:03.340");
    pages.click("playButton");
    pages.recorder.progress(pages.instance->replayProgressInput(), 126.3456);
    QCOMPARE(pages.text("positionField"), "00:02:06.346");
}

void ReplayTests::aTypedTimeMovesTheReplay_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<double>("seconds");
    QTest::newRow("hh:mm:ss.zzz") << "00:02:05.500" << 125.5;
    QTest::newRow("mm:ss.zzz") << "02:05.500" << 125.5;
    QTest::newRow("ss.zzz") << "125.500" << 125.5;
    QTest::newRow("one digit each") << "0:2:5.5" << 125.5;
    QTest::newRow("mm:ss") << "2:05" << 125.0;
    QTest::newRow("ss") << "7" << 7.0;
    QTest::newRow("the very end") << "5:00" << 300.0;
    QTest::newRow("with blanks") << " 7 " << 7.0;
}

void ReplayTests::aTypedTimeMovesTheReplay()
{
    QFETCH(const QString, typed);
    QFETCH(const double, seconds);
    Replay pages;
    pages.fill("positionField", typed, false);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    pages.key(Qt::Key_Return);
    compareCall(pages.instance, "move_to", { seconds });
    pages.recorder.reply("moved_to", { seconds });

    // What the replay is at already is not sent again.
    pages.fill("positionField", typed);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void ReplayTests::aTypedTimeThatIsNoneMovesNothing_data()
{
    QTest::addColumn<QString>("typed");
    for (const char* const typed : { "", " ", "abc", "1:2:3:4", "1:60", "60:00:00x", "-5", "1,5", "1.2.3", ":5" }) {
        QTest::newRow(typed) << QString(typed);
    }
}

void ReplayTests::aTypedTimeThatIsNoneMovesNothing()
{
    QFETCH(const QString, typed);
    Replay pages;
    pages.standAt(12);
    pages.fill("positionField", typed, false);
    QVERIFY(pages.property("positionField", "isWrong").toBool());
    pages.key(Qt::Key_Return);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QCOMPARE(pages.text("positionField"), "00:00:12.000");
}

void ReplayTests::aTypedTimeThatIsWrongSaysWhyAtOnce()
{
    Replay pages;
    pages.fill("positionField", "abc", false);
    QTRY_COMPARE(pages.texts("hint"), QStringList({ "Type a time such as 00:02:05.500, 02:05.500 or 5.5" }));
    pages.fill("positionField", "5:00.001", false);
    QTRY_COMPARE(pages.texts("hint"), QStringList({ "The record ends at 00:05:00.000" }));
    pages.fill("positionField", "5:00", false);
    QTRY_VERIFY(!pages.isShown("hint"));
    pages.fill("positionField", "5:00:00", false);
    QTRY_VERIFY(pages.isShown("hint"));
    pages.key(Qt::Key_Escape);
    QTRY_VERIFY(!pages.isShown("hint"));
}

void ReplayTests::noTimeIsTypedWhileTheRecordIsPlayed()
{
    Replay pages;
    QVERIFY(!pages.property("positionField", "readOnly").toBool());
    pages.click("playButton");
    QVERIFY(pages.property("positionField", "readOnly").toBool());
    QCOMPARE(pages.hint("positionField"), "Pause to type a time");
    QuenaryDouble::clearCalls();
    pages.fill("positionField", "7");
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QCOMPARE(pages.text("positionField"), "00:00:00.000");
}

void ReplayTests::theSliderStandsWhereTheReplayIs()
{
    {
        const Replay empty(3, 0);
        QCOMPARE(empty.slider()->property("value").toDouble(), 0.0);
    }
    Replay pages;
    QCOMPARE(pages.slider()->property("value").toDouble(), 0.0);
    pages.standAt(75);
    QCOMPARE(pages.slider()->property("value").toDouble(), 0.25);
    pages.standAt(300);
    QCOMPARE(pages.slider()->property("value").toDouble(), 1.0);
}

void ReplayTests::pressingTheSliderPausesAndReleasingItMoves()
{
    Replay pages;
    pages.click("playButton");
    QuenaryDouble::clearCalls();
    QTest::mousePress(&pages.window, Qt::LeftButton, {}, pages.onSlider(0.5));
    Pages::settle();
    compareCall(pages.instance, "pause", {});
    pages.recorder.reply("paused");
    QTest::mouseMove(&pages.window, pages.onSlider(0.6));
    QTest::mouseMove(&pages.window, pages.onSlider(0.75));
    Pages::settle();
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    // Where the hand is, not where the recorder is.
    pages.recorder.progress(pages.instance->replayProgressInput(), 3);
    QVERIFY(std::abs(pages.slider()->property("value").toDouble() - 0.75) < 0.01);
    QTest::mouseRelease(&pages.window, Qt::LeftButton, {}, pages.onSlider(0.75));
    Pages::settle();
    QCOMPARE(QuenaryDouble::calledServices(), QStringList("move_to"));
    QVERIFY(std::abs(lastServiceCall().arguments.at(0).toDouble() - 225) < 1);
    QVERIFY(pages.instance->isMovingRecord());
}

void ReplayTests::aSliderThatIsTakenFromTheHandMovesNothing_data()
{
    QTest::addColumn<std::function<void(Replay&)>>("takeAway");
    QTest::newRow("an overlay") << std::function([](Replay& pages) {
        pages.agent(0)->setchecked(false);
        pages.instance->updateRecordAgentsFilter(pages.record);
    });
    QTest::newRow("another move") << std::function([](Replay& pages) { pages.instance->moveCurrentRecordTime(20); });
    QTest::newRow("the end of the replay") << std::function([](Replay& pages) { pages.instance->unloadRecord(pages.record); });
    QTest::newRow("another tab") << std::function([](Replay& pages) { pages.showTab(Pages::File); });
    QTest::newRow("a key") << std::function([](Replay& pages) { QTest::keyRelease(&pages.window, Qt::Key_Right); });
    QTest::newRow("the end of the recorder") << std::function([](Replay& pages) { ModuleFixture::leave(pages.instance->agentInstanceUuid()); });
}

void ReplayTests::aSliderThatIsTakenFromTheHandMovesNothing()
{
    QFETCH(const std::function<void(Replay&)>, takeAway);
    Replay pages;
    ignoreNotPlaying();
    QTest::mousePress(&pages.window, Qt::LeftButton, {}, pages.onSlider(0.5));
    const QPoint end = pages.onSlider(0.75);
    QTest::mouseMove(&pages.window, pages.onSlider(0.6));
    QTest::mouseMove(&pages.window, end);
    Pages::settle();
    const auto moves = [] { return QuenaryDouble::calledServices().count("move_to"); };
    takeAway(pages);
    const qsizetype before = moves();
    Pages::settle();
    QCOMPARE(moves(), before);
    QVERIFY(before <= 1);
    if (before == 1) {
        QCOMPARE(lastServiceCall().arguments, QVariantList { 20.0 });
    }
    // The hand lets go of what it does not hold any more.
    QTest::mouseRelease(&pages.window, Qt::LeftButton, {}, end);
    Pages::settle();
    QCOMPARE(moves(), before);
}

void ReplayTests::theSliderMovesWithKeys()
{
    Replay pages;
    pages.standAt(10);
    pages.slider()->forceActiveFocus(Qt::TabFocusReason);
    const auto compareMove = [&pages](Qt::Key key, double seconds) {
        pages.key(key);
        QCOMPARE(QuenaryDouble::calledServices(), QStringList("move_to"));
        QVERIFY2(qFuzzyCompare(lastServiceCall().arguments.at(0).toDouble() + 1, seconds + 1), qPrintable(lastServiceCall().arguments.at(0).toString()));
        pages.recorder.reply("moved_to", { seconds });
        QuenaryDouble::clearCalls();
        pages.slider()->forceActiveFocus(Qt::TabFocusReason);
    };
    compareMove(Qt::Key_Right, 11);
    compareMove(Qt::Key_Left, 10);
    compareMove(Qt::Key_PageUp, 20);
    compareMove(Qt::Key_PageDown, 10);
    compareMove(Qt::Key_End, 300);
    compareMove(Qt::Key_Home, 0);
}

void ReplayTests::neitherTheSliderNorATypedTimeMovesWhileTheRecorderMoves_data()
{
    QTest::addColumn<bool>("isStopping");
    QTest::newRow("moving") << false;
    QTest::newRow("stopping") << true;
}

void ReplayTests::neitherTheSliderNorATypedTimeMovesWhileTheRecorderMoves()
{
    QFETCH(const bool, isStopping);
    Replay pages;
    if (isStopping) {
        pages.standAt(5);
        ignoreNotPlaying();
        pages.instance->stopRecord(pages.record);
    } else {
        pages.instance->moveCurrentRecordTime(20);
    }
    Pages::settle();
    QCOMPARE(pages.instance->isStoppingRecord(), isStopping);
    QuenaryDouble::clearCalls();
    QQuickItem* const item = pages.item("recordSlider");
    // The overlay keeps a hand away; a release that comes from before it is not sent either.
    QMetaObject::invokeMethod(item, "released", Q_ARG(double, 0.5));
    QMetaObject::invokeMethod(item, "stepped", Q_ARG(double, 0.5));
    QVERIFY(!pages.property("positionField", "mayCommit").toBool());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    pages.recorder.reply("moved_to", { 20.0 });
    QMetaObject::invokeMethod(item, "released", Q_ARG(double, 0.5));
    compareCall(pages.instance, "move_to", { 150.0 });
}

void ReplayTests::theSpeedIsChosenAmongThoseOfTheRecord()
{
    Replay pages;
    QCOMPARE(pages.property("speedChooser", "displayText").toString(), pages.record->speed()->label());
    QCOMPARE(pages.property("speedChooser", "count").toInt(), pages.record->speeds()->count());
    const int index = pages.property("speedChooser", "currentIndex").toInt();
    QCOMPARE(pages.record->speeds()->get(index), static_cast<QObject*>(pages.record->speed()));

    pages.click("speedChooser");
    pages.key(Qt::Key_Down);
    pages.key(Qt::Key_Return);
    auto* const next = qobject_cast<Speed*>(pages.record->speeds()->get(index + 1));
    compareCall(pages.instance, "speed", { next->value() });
    QCOMPARE(pages.record->speed(), next);
    QCOMPARE(pages.property("speedChooser", "displayText").toString(), next->label());
}

void ReplayTests::theAgentsAreChosenAtTheStartOnly()
{
    {
        Replay none(0);
        QVERIFY(!none.isAvailable("agentsFilter"));
        QTest::mouseMove(&none.window, none.middle("agentsFilter"));
        QTRY_COMPARE(none.texts("hint"), QStringList({ "There is no agent to choose" }));
    }
    Replay pages;
    QCOMPARE(pages.text("agentsFilterRecap"), pages.record->agentsFilterRecap());
    QVERIFY(pages.isAvailable("agentsFilter"));
    pages.standAt(5);
    QVERIFY(!pages.isAvailable("agentsFilter"));
    QTest::mouseMove(&pages.window, QPoint(1, 1));
    QTest::mouseMove(&pages.window, pages.middle("agentsFilter"));
    QTRY_VERIFY(pages.isShown("hint"));
    QVERIFY(pages.texts("hint").constFirst().startsWith("Stop the replay"));
    pages.standAt(0);
    QVERIFY(pages.isAvailable("agentsFilter"));
}

void ReplayTests::everyChangeOfTheAgentsIsSentAtOnce()
{
    Replay pages;
    pages.click("agentsFilter");
    QVERIFY(pages.isShown("agentsList"));
    QCOMPARE(pages.focus(), "agentsList");
    QVERIFY(!pages.isShown("agentsSearch"));
    pages.key(Qt::Key_Space);
    QVERIFY(!pages.agent(0)->checked());
    compareCall(pages.instance, "filter_replaying_agents", { "[\"agent 001\",\"agent 002\"]" });
    pages.filterApplied();
    pages.key(Qt::Key_Down);
    pages.key(Qt::Key_Space);
    QVERIFY(!pages.agent(1)->checked());
    compareCall(pages.instance, "filter_replaying_agents", { "[\"agent 002\"]" });
    pages.filterApplied();
    QCOMPARE(pages.text("agentsFilterRecap"), pages.record->agentsFilterRecap());

    // With the mouse as well.
    const QQuickItem* const list = pages.item("agentsList");
    QTest::mouseClick(&pages.window, Qt::LeftButton, {}, list->mapToScene(QPointF(20, 18)).toPoint());
    Pages::settle();
    QVERIFY(pages.agent(0)->checked());
    compareCall(pages.instance, "filter_replaying_agents", { "[\"agent 000\",\"agent 002\"]" });
    pages.filterApplied();

    // Closing the list is no change.
    pages.key(Qt::Key_Escape);
    QVERIFY(!pages.isShown("agentsList"));
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void ReplayTests::theListOfAgentsWaitsWhileTheRecorderFilters()
{
    Replay pages;
    pages.click("agentsFilter");
    pages.key(Qt::Key_Down);
    pages.key(Qt::Key_Space);
    QVERIFY(pages.instance->isFilteringRecord());
    QCOMPARE(pages.text("busyFeedback/feedbackText"), "Filtering record, please wait...");
    QuenaryDouble::clearCalls();
    pages.click("agentsList");
    pages.key(Qt::Key_Space);
    QVERIFY(pages.agent(0)->checked() && !pages.agent(1)->checked() && pages.agent(2)->checked());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());

    // Then it has the keyboard again, on the agent on which it was.
    pages.filterApplied();
    QVERIFY(pages.isShown("agentsList"));
    QCOMPARE(pages.focus(), "agentsList");
    pages.key(Qt::Key_Space);
    QVERIFY(pages.agent(1)->checked());
    compareCall(pages.instance, "filter_replaying_agents", { "[]" });
}

void ReplayTests::theListOfAgentsIsNotInTheWayOfARecorderThatFiltersForLong()
{
    Replay pages;
    pages.setPatience(1, 3600000);
    pages.click("agentsFilter");
    const QQuickItem* popup = pages.item("agentsList");
    while (!popup->inherits("QQuickPopupItem")) {
        popup = popup->parentItem();
    }
    pages.key(Qt::Key_Space);
    QTRY_COMPARE(popup->opacity(), 0.0);
    QTRY_VERIFY(pages.isShown("leaveButton"));
    // Also where the list was; a press beside it closes it.
    const int x = qRound(popup->x() + 20);
    for (int y = 100; y < 700; y += 50) {
        QTest::mouseClick(&pages.window, Qt::LeftButton, {}, QPoint(x, y));
    }
    Pages::settle();
    QVERIFY(pages.agent(1)->checked());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList("filter_replaying_agents"));
    pages.click("leaveButton");
    QVERIFY(pages.isShown("recordersPage"));
    QVERIFY(!pages.isShown("agentsList"));
}

void ReplayTests::allAgentsAreSwitchedAtOnce()
{
    Replay pages;
    pages.agent(1)->setchecked(false);
    pages.click("agentsFilter");
    const QQuickItem* const all = pages.property("allAgents", "box").value<QQuickItem*>();
    QCOMPARE(pages.text("allAgents"), "All agents");
    QCOMPARE(all->property("checkState").toInt(), int(Qt::PartiallyChecked));
    pages.instance->updateRecordAgentsFilter(pages.record);
    pages.filterApplied();
    pages.click("allAgents");
    QCOMPARE(all->property("checkState").toInt(), int(Qt::Checked));
    QVERIFY(pages.agent(1)->checked());
    compareCall(pages.instance, "filter_replaying_agents", { "[]" });
    pages.filterApplied();
    pages.click("allAgents");
    QCOMPARE(all->property("checkState").toInt(), int(Qt::Unchecked));
    QVERIFY(!pages.agent(0)->checked() && !pages.agent(1)->checked() && !pages.agent(2)->checked());
    compareCall(pages.instance, "filter_replaying_agents", { "[]" });
}

void ReplayTests::manyAgentsCanBeSearched()
{
    Replay pages(40);
    pages.click("agentsFilter");
    QVERIFY(pages.isShown("agentsSearch"));
    QCOMPARE(pages.property("agentsList", "count").toInt(), 40);
    pages.focusOn("agentsSearch");
    pages.type("T 03");
    QCOMPARE(pages.property("agentsList", "count").toInt(), 10);
    QCOMPARE(pages.text("allAgents"), "All that were found");
    pages.click("allAgents");
    for (int i = 0; i < 40; ++i) {
        QCOMPARE(pages.agent(i)->checked(), i < 30);
    }
    QCOMPARE(QuenaryDouble::calledServices(), QStringList("filter_replaying_agents"));
}

void ReplayTests::unloadingEndsTheReplayAndKeepsTheRecord()
{
    Replay pages;
    QCOMPARE(pages.text("unloadButton"), "Unload");
    pages.click("unloadButton");
    compareCall(pages.instance, "unload", {});
    QVERIFY(!pages.isShown("unloadButton"));
    QCOMPARE(pages.texts("recordNameText"), QStringList({ "First" }));
}

static const RegisterPageTest<ReplayTests> replayTests;

#include "tst_replay.moc"
