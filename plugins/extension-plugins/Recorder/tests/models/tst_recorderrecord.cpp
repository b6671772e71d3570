// SPDX-License-Identifier: Apache-2.0
#include "../contexttranslator.h"

#include <recorderrecord.h>

#include <QtQml/QJSEngine>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include <memory>

class TestRecorderRecord : public QObject
{
    Q_OBJECT

    const QDateTime start { QDate(2026, 11, 21), QTime(10, 0) };
    const QDateTime end { QDate(2026, 11, 21), QTime(10, 1, 30, 500) };

    static QList<RecordAgentFilter*> filters(RecorderRecord& record)
    {
        QList<RecordAgentFilter*> filters;
        for (int row = 0; row < record.agentsFilters()->size(); ++row) {
            filters.append(qobject_cast<RecordAgentFilter*>(record.agentsFilters()->itemAt(row)));
        }
        return filters;
    }

    static QStringList agents(RecorderRecord& record)
    {
        QStringList names;
        for (const RecordAgentFilter* filter : filters(record)) {
            names.append(filter->name());
        }
        return names;
    }

    static QList<double> speeds(RecorderRecord& record)
    {
        QList<double> values;
        for (int row = 0; row < record.speeds()->size(); ++row) {
            values.append(qobject_cast<Speed*>(record.speeds()->itemAt(row))->value());
        }
        return values;
    }

private slots:
    void init() { QTest::failOnWarning(); }

    void aNewRecordHoldsWhatItWasMadeOfAndNothingElse()
    {
        RecorderRecord record(QStringLiteral("u1"), QStringLiteral("first"), start, end, 90'500'000, nullptr);
        QCOMPARE(record.uuid(), QStringLiteral("u1"));
        QCOMPARE(record.name(), QStringLiteral("first"));
        QCOMPARE(record.startDateTime(), start);
        QCOMPARE(record.endDateTime(), end);
        QCOMPARE(record.isRecording(), false);
        QCOMPARE(record.isLoaded(), false);
        QCOMPARE(record.isReplaying(), false);
        QCOMPARE(record.replayIsAtStart(), true);
        QCOMPARE(record.replayProgressInSecond(), 0.0);
        QCOMPARE(record.agentsFilters()->count(), 0);
        QCOMPARE(record.agentsFilterState(), Qt::Checked);
        QCOMPARE(record.agentsFilterRecap(), QStringLiteral("No agent on record"));
        QCOMPARE(record.lastActiveAgentsFilter(), QStringList());
        QCOMPARE(record.speeds()->count(), 0);
        QCOMPARE(record.speed(), nullptr);
        QCOMPARE(QJSEngine::objectOwnership(&record), QJSEngine::CppOwnership);
    }

    void aDurationOf90500000MicrosecondsIs90Point5Seconds()
    {
        const RecorderRecord record({}, {}, start, end, 90'500'000, nullptr);
        QCOMPARE(record.durationInSeconds(), 90.5);
    }

    void aSetterGivenAnEqualValueNotifiesNobody()
    {
        RecorderRecord record(QStringLiteral("u"), QStringLiteral("n"), start, end, 1'000'000, nullptr);
        QSignalSpy names(&record, &RecorderRecord::nameChanged);
        QSignalSpy ends(&record, &RecorderRecord::endDateTimeChanged);
        QSignalSpy durations(&record, &RecorderRecord::durationInSecondsChanged);
        QSignalSpy recordings(&record, &RecorderRecord::isRecordingChanged);
        QSignalSpy replays(&record, &RecorderRecord::isReplayingChanged);

        record.setname(QStringLiteral("n"));
        record.setendDateTime(end);
        record.setdurationInSeconds(1.0 + 1e-14);
        record.setisRecording(false);
        record.setisReplaying(false);
        QCOMPARE(names.count() + ends.count() + durations.count() + recordings.count() + replays.count(), 0);

        record.setname(QStringLiteral("m"));
        record.setendDateTime(QDateTime());
        record.setdurationInSeconds(2.0);
        record.setisRecording(true);
        record.setisReplaying(true);
        QCOMPARE(names.count(), 1);
        QCOMPARE(ends.count(), 1);
        QCOMPARE(durations.count(), 1);
        QCOMPARE(recordings.count(), 1);
        QCOMPARE(replays.count(), 1);
        QCOMPARE(record.name(), QStringLiteral("m"));
        QVERIFY(!record.endDateTime().isValid());
        QCOMPARE(record.durationInSeconds(), 2.0);
        QVERIFY(record.isRecording());
        QVERIFY(record.isReplaying());
    }

    void agentsAreSortedWithoutRegardToCase()
    {
        QVERIFY(record_compareAgents(QStringLiteral("a"), QStringLiteral("B")));
        QVERIFY(!record_compareAgents(QStringLiteral("c"), QStringLiteral("B")));
        QVERIFY(!record_compareAgents(QStringLiteral("a"), QStringLiteral("A")));
        QVERIFY(!record_compareAgents(QStringLiteral("A"), QStringLiteral("a")));
    }

    void loadingOffersTheSortedAgentsAllCheckedAndTheSpeedsWith1Selected()
    {
        RecorderRecord record({}, {}, start, end, 0, nullptr);
        QSignalSpy loads(&record, &RecorderRecord::isLoadedChanged);
        QSignalSpy insertions(record.agentsFilters(), &QAbstractItemModel::rowsInserted);
        record.load({ QStringLiteral("beta"), QStringLiteral("Alpha"), QStringLiteral("gamma") });

        const QStringList sorted { QStringLiteral("Alpha"), QStringLiteral("beta"), QStringLiteral("gamma") };
        QVERIFY(record.isLoaded());
        QCOMPARE(loads.count(), 1);
        QCOMPARE(agents(record), sorted);
        QCOMPARE(insertions.count(), 1);
        for (RecordAgentFilter* filter : filters(record)) {
            QVERIFY(filter->checked());
            QCOMPARE(QJSEngine::objectOwnership(filter), QJSEngine::CppOwnership);
        }
        QCOMPARE(record.agentsFilterRecap(), QStringLiteral("All agents"));
        QCOMPARE(record.agentsFilterState(), Qt::Checked);
        QCOMPARE(record.lastActiveAgentsFilter(), sorted);
        QCOMPARE(speeds(record), (QList<double> { 0.5, 1.0, 2.0, 3.0, 4.0 }));
        QVERIFY(record.speed());
        QCOMPARE(record.speed()->value(), RECORD_DEFAULT_SPEED);
    }

    void loadingAnewReplacesAgentsAndSpeeds()
    {
        RecorderRecord record({}, {}, start, end, 0, nullptr);
        record.load({ QStringLiteral("a"), QStringLiteral("b") });
        const QPointer<RecordAgentFilter> oldFilter = filters(record).first();
        const QPointer<Speed> oldSpeed = record.speed();
        record.load({ QStringLiteral("c") });
        QCOMPARE(agents(record), QStringList { QStringLiteral("c") });
        QCOMPARE(record.speeds()->count(), 5);
        QVERIFY(record.speed() && record.speed() != oldSpeed);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!oldFilter);
        QVERIFY(!oldSpeed);
        QVERIFY(record.speed());
    }

    void uncheckingAllButOneAgentNamesIt()
    {
        RecorderRecord record({}, {}, start, end, 0, nullptr);
        record.load({ QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c") });
        filters(record).at(0)->setchecked(false);
        filters(record).at(2)->setchecked(false);
        QCOMPARE(record.agentsFilterState(), Qt::PartiallyChecked);
        QCOMPARE(record.agentsFilterRecap(), QStringLiteral("b"));
    }

    void twoOfThreeCheckedAgentsAreCounted()
    {
        RecorderRecord record({}, {}, start, end, 0, nullptr);
        record.load({ QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c") });
        filters(record).at(1)->setchecked(false);
        QCOMPARE(record.agentsFilterState(), Qt::PartiallyChecked);
        QCOMPARE(record.agentsFilterRecap(), QStringLiteral("2 agents"));
    }

    void withNoAgentCheckedNoneIsSelected()
    {
        RecorderRecord record({}, {}, start, end, 0, nullptr);
        record.load({ QStringLiteral("a"), QStringLiteral("b") });
        for (RecordAgentFilter* filter : filters(record)) {
            filter->setchecked(false);
        }
        QCOMPARE(record.agentsFilterState(), Qt::Unchecked);
        QCOMPARE(record.agentsFilterRecap(), QStringLiteral("No agent selected"));
    }

    void theSummariesAreTranslated()
    {
        const ContextTranslator translator("RecorderRecord");
        RecorderRecord record({}, {}, start, end, 0, nullptr);
        QCOMPARE(record.agentsFilterRecap(), QStringLiteral("translated No agent on record"));
        record.load({ QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c") });
        QCOMPARE(record.agentsFilterRecap(), QStringLiteral("translated All agents"));
        filters(record).at(0)->setchecked(false);
        QCOMPARE(record.agentsFilterRecap(), QStringLiteral("translated 2 agents"));
        filters(record).at(1)->setchecked(false);
        QCOMPARE(record.agentsFilterRecap(), QStringLiteral("c"));
        filters(record).at(2)->setchecked(false);
        QCOMPARE(record.agentsFilterRecap(), QStringLiteral("translated No agent selected"));
    }

    void checkingEveryAgentAgainGivesAllAgents()
    {
        RecorderRecord record({}, {}, start, end, 0, nullptr);
        record.load({ QStringLiteral("a"), QStringLiteral("b") });
        QSignalSpy states(&record, &RecorderRecord::agentsFilterStateChanged);
        QSignalSpy recaps(&record, &RecorderRecord::agentsFilterRecapChanged);
        filters(record).first()->setchecked(false);
        filters(record).first()->setchecked(true);
        QCOMPARE(record.agentsFilterState(), Qt::Checked);
        QCOMPARE(record.agentsFilterRecap(), QStringLiteral("All agents"));
        QCOMPARE(states.count(), 2);
        QCOMPARE(recaps.count(), 2);
    }

    void agentsThatOthersAddAndTakeOutCountToo()
    {
        RecorderRecord record({}, {}, start, end, 0, nullptr);
        record.load({ QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"), QStringLiteral("d") });
        auto& list = static_cast<ZqCustomItemListModel<RecordAgentFilter>&>(*record.agentsFilters());
        // Taken out: what becomes of it counts no more.
        const std::unique_ptr<RecordAgentFilter> taken(list.takeRow(0));
        taken->setchecked(false);
        QCOMPARE(record.agentsFilterRecap(), QStringLiteral("All agents"));
        filters(record).at(0)->setchecked(false);
        QCOMPARE(record.agentsFilterRecap(), QStringLiteral("2 agents"));
        // Deleted by the list, and by itself.
        list.deleteNItems(0, 1);
        filters(record).at(0)->setchecked(false);
        QCOMPARE(record.agentsFilterRecap(), QStringLiteral("d"));
        delete list.at(0);
        list.at(0)->setchecked(false);
        QCOMPARE(record.agentsFilterRecap(), QStringLiteral("No agent selected"));
        // Added, with and without its mark.
        list.appendRow(new RecordAgentFilter(QStringLiteral("e"), &record));
        list.prependRow(taken.get());
        list.at(1)->setchecked(true);
        QCOMPARE(record.agentsFilterRecap(), QStringLiteral("2 agents"));
        taken->setchecked(true);
        QCOMPARE(record.agentsFilterState(), Qt::Checked);
        QCOMPARE(record.agentsFilterRecap(), QStringLiteral("All agents"));
        list.takeRow(0);
    }

    void theActiveAgentsAreTheCheckedOnesSorted()
    {
        RecorderRecord record({}, {}, start, end, 0, nullptr);
        record.load({ QStringLiteral("beta"), QStringLiteral("Alpha"), QStringLiteral("gamma") });
        filters(record).at(1)->setchecked(false);
        const QStringList active { QStringLiteral("Alpha"), QStringLiteral("gamma") };
        QCOMPARE(record.getActiveAgentsFiltersAsStringList(), active);
        QCOMPARE(record.lastActiveAgentsFilter().size(), 3);

        QSignalSpy saves(&record, &RecorderRecord::lastActiveAgentsFilterChanged);
        QCOMPARE(record.saveActiveAgentsFilters(), active);
        QCOMPARE(record.lastActiveAgentsFilter(), active);
        record.saveActiveAgentsFilters();
        QCOMPARE(saves.count(), 1);
    }

    void theSummaryWrittenByAPageChecksNothing()
    {
        RecorderRecord record({}, {}, start, end, 0, nullptr);
        record.load({ QStringLiteral("a") });
        QSignalSpy states(&record, &RecorderRecord::agentsFilterStateChanged);
        QVERIFY(record.setProperty("agentsFilterState", static_cast<int>(Qt::Unchecked)));
        QCOMPARE(record.agentsFilterState(), Qt::Unchecked);
        QVERIFY(filters(record).first()->checked());
        record.setagentsFilterState(Qt::Unchecked);
        QCOMPARE(states.count(), 1);
    }

    void unloadingTakesEverythingBack()
    {
        RecorderRecord record({}, {}, start, end, 0, nullptr);
        record.load({ QStringLiteral("a") });
        record.setisReplaying(true);
        record.updateReplayProgress(3.0);
        QSignalSpy positions(&record, &RecorderRecord::replayProgressInSecondChanged);
        QSignalSpy starts(&record, &RecorderRecord::replayIsAtStartChanged);
        QSignalSpy speedChanges(&record, &RecorderRecord::speedChanged);
        record.unload();
        QVERIFY(!record.isLoaded());
        QVERIFY(!record.isReplaying());
        QCOMPARE(record.replayProgressInSecond(), 0.0);
        QVERIFY(record.replayIsAtStart());
        QCOMPARE(positions.count(), 1);
        QCOMPARE(starts.count(), 1);
        QCOMPARE(record.lastActiveAgentsFilter(), QStringList());
        QCOMPARE(record.agentsFilters()->count(), 0);
        QCOMPARE(record.agentsFilterRecap(), QStringLiteral("No agent on record"));
        QCOMPARE(record.agentsFilterState(), Qt::Checked);
        QCOMPARE(record.speed(), nullptr);
        QCOMPARE(speedChanges.count(), 1);
        QCOMPARE(record.speeds()->count(), 0);
    }

    void unloadingARecordThatIsNotLoadedChangesNothing()
    {
        RecorderRecord record({}, {}, start, end, 0, nullptr);
        record.updateReplayProgress(3.0);
        record.setisReplaying(true);
        QSignalSpy positions(&record, &RecorderRecord::replayProgressInSecondChanged);
        QSignalSpy replays(&record, &RecorderRecord::isReplayingChanged);
        QSignalSpy recaps(&record, &RecorderRecord::agentsFilterRecapChanged);
        record.unload();
        QCOMPARE(record.replayProgressInSecond(), 3.0);
        QVERIFY(record.isReplaying());
        QCOMPARE(positions.count() + replays.count() + recaps.count(), 0);
    }

    void aRecordTakesItsFiltersAndSpeedsWithIt()
    {
        auto* record = new RecorderRecord({}, {}, start, end, 0, nullptr);
        record->load({ QStringLiteral("a") });
        const QPointer<RecordAgentFilter> filter = filters(*record).first();
        const QPointer<Speed> speed = record->speed();
        delete record;
        QVERIFY(!filter);
        QVERIFY(!speed);
    }
};

QTEST_GUILESS_MAIN(TestRecorderRecord)
#include "tst_recorderrecord.moc"
