// SPDX-License-Identifier: Apache-2.0
#include "modulefixture.h"

/// Which of a record's agents are replayed: the check marks that a person changes, and when they are sent.
class tst_RecorderAgentsFilter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void changingTheFilterWhilePlayingWaitsForTheStart();
    void changingTheFilterAtTheStartSendsItAtOnce();
    void aMoveToElsewhereDoesNotSendTheWaitingFilter();
    void anUnchangedFilterDoesNotStopTheReplay();
    void checkMarksPutBackBeforeTheStartIsReachedWaitNoLonger();
    void checkMarksOfARecordThatWasLetGoWaitNoLongerAtTheStart();
};

void tst_RecorderAgentsFilter::changingTheFilterWhilePlayingWaitsForTheStart()
{
    LoadedRecorder replay;
    replay.instance->playRecord(replay.record);
    replay.recorder.progress(replay.instance->replayProgressInput(), 1.0);
    replay.check(0, false);
    QuenaryDouble::clearCalls();
    replay.instance->beforeUpdateRecordAgentsFilter(replay.record);
    QVERIFY(replay.instance->isWaitingToFilterAgents());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "pause", "move_to" }));
    replay.recorder.reply("paused");
    replay.recorder.reply("moved_to", { 0.0 });
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "pause", "move_to", "filter_replaying_agents" }));
    QCOMPARE(lastServiceCall().arguments, QVariantList({ R"(["b","c"])" }));
    QVERIFY(!replay.instance->isWaitingToFilterAgents());
    QVERIFY(replay.instance->isFilteringRecord());
    replay.recorder.reply("filter_applied");
    QVERIFY(!replay.instance->isFilteringRecord());
}

void tst_RecorderAgentsFilter::changingTheFilterAtTheStartSendsItAtOnce()
{
    LoadedRecorder replay;
    replay.check(0, false);
    replay.instance->beforeUpdateRecordAgentsFilter(replay.record);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "filter_replaying_agents" }));
    replay.instance->beforeUpdateRecordAgentsFilter(nullptr);
}

void tst_RecorderAgentsFilter::aMoveToElsewhereDoesNotSendTheWaitingFilter()
{
    LoadedRecorder replay;
    replay.instance->playRecord(replay.record);
    replay.recorder.progress(replay.instance->replayProgressInput(), 1.0);
    replay.check(0, false);
    replay.instance->beforeUpdateRecordAgentsFilter(replay.record);
    QuenaryDouble::clearCalls();
    replay.recorder.reply("moved_to", { 0.5 });
    QVERIFY(replay.instance->isWaitingToFilterAgents());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderAgentsFilter::anUnchangedFilterDoesNotStopTheReplay()
{
    LoadedRecorder replay;
    replay.instance->playRecord(replay.record);
    replay.recorder.progress(replay.instance->replayProgressInput(), 1.0);
    QuenaryDouble::clearCalls();
    replay.instance->beforeUpdateRecordAgentsFilter(replay.record);
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QVERIFY(!replay.instance->isWaitingToFilterAgents());
}

void tst_RecorderAgentsFilter::checkMarksPutBackBeforeTheStartIsReachedWaitNoLonger()
{
    LoadedRecorder replay;
    replay.instance->playRecord(replay.record);
    replay.recorder.progress(replay.instance->replayProgressInput(), 1.0);
    replay.check(0, false);
    replay.instance->beforeUpdateRecordAgentsFilter(replay.record);
    replay.check(0, true);
    QuenaryDouble::clearCalls();
    replay.recorder.reply("moved_to", { 0.0 });
    QVERIFY(!replay.instance->isWaitingToFilterAgents());
    QVERIFY(!replay.instance->isFilteringRecord());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderAgentsFilter::checkMarksOfARecordThatWasLetGoWaitNoLongerAtTheStart()
{
    for (const bool loadsAnother : { true, false }) {
        LoadedRecorder replay;
        replay.instance->playRecord(replay.record);
        replay.recorder.progress(replay.instance->replayProgressInput(), 1.0);
        replay.check(0, false);
        replay.instance->beforeUpdateRecordAgentsFilter(replay.record);
        if (loadsAnother) {
            replay.instance->loadRecord(replay.other);
            replay.recorder.loaded(RECORD_B, 3.0, R"(["a","b"])");
        } else {
            replay.instance->unloadRecord(replay.record);
        }
        QVERIFY(replay.instance->isWaitingToFilterAgents());
        QuenaryDouble::clearCalls();
        replay.recorder.reply("moved_to", { 0.0 });
        QVERIFY(!replay.instance->isWaitingToFilterAgents());
        QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    }
}

QTEST_MAIN(tst_RecorderAgentsFilter)
#include "tst_recorderagentsfilter.moc"
