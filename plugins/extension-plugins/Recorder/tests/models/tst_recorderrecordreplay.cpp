// SPDX-License-Identifier: Apache-2.0
// The replay of a record: its position, its speed and a replay taken over from the recorder.
#include <recorderrecord.h>

#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include <limits>
#include <memory>

class TestRecorderRecordReplay : public QObject
{
    Q_OBJECT

    std::unique_ptr<RecorderRecord> record;

    QStringList checkedAgents() const
    {
        QStringList names;
        for (int row = 0; row < record->agentsFilters()->size(); ++row) {
            const auto* filter = qobject_cast<RecordAgentFilter*>(record->agentsFilters()->itemAt(row));
            if (filter->checked()) {
                names.append(filter->name());
            }
        }
        return names;
    }

    Speed* speedAt(int row) const { return qobject_cast<Speed*>(record->speeds()->itemAt(row)); }

private slots:
    void init()
    {
        QTest::failOnWarning();
        record = std::make_unique<RecorderRecord>(
            QStringLiteral("u"), QStringLiteral("n"), QDateTime(), QDateTime(), 10'000'000, nullptr);
    }

    void aReplayTakenOverIsSummarisedWithEveryCheckMark()
    {
        const QStringList agents { QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"), QStringLiteral("d") };
        QStringList recaps;
        connect(record.get(), &RecorderRecord::agentsFilterRecapChanged, record.get(),
            [this, &recaps] { recaps.append(record->agentsFilterRecap()); });
        record->updateReplayContext(0.0, 1.0, false, agents, { QStringLiteral("c") });
        QCOMPARE(recaps, QStringList({ "3 agents", "2 agents", "c" }));
        QCOMPARE(record->agentsFilterState(), Qt::PartiallyChecked);
        recaps.clear();
        record->updateReplayContext(0.0, 1.0, false, agents, { QStringLiteral("nobody") });
        QCOMPARE(recaps, QStringList({ "3 agents", "2 agents", "d", "No agent selected" }));
    }

    void agentsOfBeforeCountNoMore()
    {
        record->load({ QStringLiteral("a"), QStringLiteral("b") });
        auto* const before = qobject_cast<RecordAgentFilter*>(record->agentsFilters()->itemAt(0));
        record->load({ QStringLiteral("c"), QStringLiteral("d") });
        before->setchecked(false);
        QCOMPARE(record->agentsFilterRecap(), QStringLiteral("All agents"));
    }

    void aNegativePositionIsTheStart()
    {
        record->updateReplayProgress(5.0);
        QVERIFY(!record->replayIsAtStart());
        record->updateReplayProgress(-2.0);
        QCOMPARE(record->replayProgressInSecond(), 0.0);
        QVERIFY(record->replayIsAtStart());
    }

    void aPositionEqualToTheCurrentOneEmitsNothing()
    {
        record->updateReplayProgress(-2.0);
        QSignalSpy positions(record.get(), &RecorderRecord::replayProgressInSecondChanged);
        QSignalSpy starts(record.get(), &RecorderRecord::replayIsAtStartChanged);
        record->updateReplayProgress(0.0);
        record->updateReplayProgress(-7.0);
        QCOMPARE(positions.count() + starts.count(), 0);

        record->setreplayProgressInSecond(4.0);
        record->updateReplayProgress(4.0 + 1e-13);
        QCOMPARE(positions.count(), 1);
        QCOMPARE(starts.count(), 1);
    }

    void aPositionOfATrillionthOfASecondIsStillTheStart()
    {
        QSignalSpy positions(record.get(), &RecorderRecord::replayProgressInSecondChanged);
        record->setreplayProgressInSecond(1e-12);
        QCOMPARE(positions.count(), 1);
        QVERIFY(record->replayIsAtStart());
        record->setreplayProgressInSecond(2e-12);
        QVERIFY(!record->replayIsAtStart());
    }

    void aPositionThatIsNoNumberIsTheStart()
    {
        record->setreplayProgressInSecond(1.0);
        record->setreplayProgressInSecond(std::numeric_limits<double>::quiet_NaN());
        QCOMPARE(record->replayProgressInSecond(), 0.0);
        QVERIFY(record->replayIsAtStart());
    }

    void theFlagOfTheStartIsKnownWhenThePositionIsNotified()
    {
        bool wasAtStart = true;
        connect(record.get(), &RecorderRecord::replayProgressInSecondChanged, this,
            [&] { wasAtStart = record->replayIsAtStart(); });
        record->updateReplayProgress(1.0);
        QVERIFY(!wasAtStart);
    }

    void withoutTheDefaultSpeedThereIsAWarningAndNoSpeed()
    {
        // Whoever hears of the offered speeds may take one away.
        connect(record->speeds(), &QAbstractItemModel::rowsInserted, this, [this] { record->speeds()->remove(1); });
        QTest::ignoreMessage(QtWarningMsg, "RECORD_DEFAULT_SPEED is not used in RECORD_SPEEDS");
        record->load({ QStringLiteral("a") });
        QCOMPARE(record->speed(), nullptr);
        QCOMPARE(record->speeds()->count(), 4);
        QVERIFY(record->isLoaded());
        QCOMPARE(checkedAgents(), QStringList { QStringLiteral("a") });
    }

    void theSpeedsHaveTheirValuesAndTheDefaultIsOneOfThem()
    {
        QCOMPARE(RECORD_SPEEDS, (QList<double> { 0.5, 1.0, 2.0, 3.0, 4.0 }));
        QCOMPARE(RECORD_DEFAULT_SPEED, 1.0);
    }

    void choosingASpeedTwiceSaysNoTheSecondTime()
    {
        record->load({});
        QSignalSpy speeds(record.get(), &RecorderRecord::speedChanged);
        QVERIFY(record->updateSpeed(speedAt(3)));
        QCOMPARE(record->speed()->value(), 3.0);
        QVERIFY(!record->updateSpeed(speedAt(3)));
        QCOMPARE(speeds.count(), 1);
    }

    void noSpeedCanBeChosen()
    {
        record->load({});
        QVERIFY(record->updateSpeed(nullptr));
        QCOMPARE(record->speed(), nullptr);
        QVERIFY(!record->updateSpeed(nullptr));
    }

    void aDeletedSpeedLeavesNone()
    {
        record->load({});
        QSignalSpy speeds(record.get(), &RecorderRecord::speedChanged);
        delete record->speed();
        QCOMPARE(record->speed(), nullptr);
        QCOMPARE(speeds.count(), 1);
        QCOMPARE(record->speeds()->count(), 4);
    }

    void aSpeedThatIsNoLongerCurrentMayBeDeleted()
    {
        record->load({});
        Speed* const old = record->speed();
        record->updateSpeed(speedAt(4));
        QSignalSpy speeds(record.get(), &RecorderRecord::speedChanged);
        delete old;
        QCOMPARE(record->speed()->value(), 4.0);
        QCOMPARE(speeds.count(), 0);
    }

    void aReplayTakenOverShowsItsPositionSpeedAndAgents()
    {
        record->updateReplayContext(4.5, 2.0, true, { QStringLiteral("b"), QStringLiteral("A"), QStringLiteral("c") },
            { QStringLiteral("c"), QStringLiteral("A") });
        QVERIFY(record->isLoaded());
        QVERIFY(record->isReplaying());
        QCOMPARE(record->replayProgressInSecond(), 4.5);
        QVERIFY(!record->replayIsAtStart());
        QCOMPARE(record->speed()->value(), 2.0);
        QCOMPARE(record->speeds()->count(), 5);
        const QStringList active { QStringLiteral("A"), QStringLiteral("c") };
        QCOMPARE(checkedAgents(), active);
        QCOMPARE(record->lastActiveAgentsFilter(), active);
        QCOMPARE(record->agentsFilterRecap(), QStringLiteral("2 agents"));
    }

    void activeAgentsThatTheRecordDoesNotKnowLeaveEveryAgentUnchecked()
    {
        record->updateReplayContext(0.0, 1.0, false, { QStringLiteral("a"), QStringLiteral("b") },
            { QStringLiteral("A"), QStringLiteral("x") });
        QCOMPARE(checkedAgents(), QStringList());
        QCOMPARE(record->agentsFilterState(), Qt::Unchecked);
        QCOMPARE(record->agentsFilterRecap(), QStringLiteral("No agent selected"));
        QCOMPARE(record->lastActiveAgentsFilter(), (QStringList { QStringLiteral("A"), QStringLiteral("x") }));
    }

    void withoutActiveAgentsEveryAgentStaysChecked()
    {
        record->updateReplayContext(0.0, 1.0, false, { QStringLiteral("a"), QStringLiteral("b") }, {});
        QCOMPARE(checkedAgents().size(), 2);
        QCOMPARE(record->agentsFilterRecap(), QStringLiteral("All agents"));
        QCOMPARE(record->lastActiveAgentsFilter().size(), 2);
    }

    void aSpeedOutsideTheOfferedOnesIsAddedAndSelected()
    {
        record->updateReplayContext(0.0, 1.5, false, { QStringLiteral("a") }, {});
        QCOMPARE(record->speeds()->count(), 6);
        QCOMPARE(speedAt(5)->value(), 1.5);
        QCOMPARE(record->speed(), speedAt(5));
    }

    void aSpeedThatIsNearlyAnOfferedOneIsThatOne()
    {
        record->updateReplayContext(0.0, 2.0 + 1e-13, false, {}, {});
        QCOMPARE(record->speeds()->count(), 5);
        QCOMPARE(record->speed(), speedAt(2));
    }

    void theDefaultSpeedTakenOverIsSelectedOnce()
    {
        QSignalSpy speeds(record.get(), &RecorderRecord::speedChanged);
        record->updateReplayContext(0.0, 1.0, false, {}, {});
        QCOMPARE(speeds.count(), 1);
        QCOMPARE(record->speed(), speedAt(1));
    }
};

QTEST_GUILESS_MAIN(TestRecorderRecordReplay)
#include "tst_recorderrecordreplay.moc"
