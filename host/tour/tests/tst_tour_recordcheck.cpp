// SPDX-License-Identifier: Apache-2.0
#include "sampletraces.h"

#include <QtTest/QTest>

using namespace tour;

namespace {

RecordCheck check(const SampleTraces& traces, const RecordingWindow& window = SampleTraces::window())
{
    Journal journal;
    RecordFile record;
    QString error;
    if (!journal.addRows(traces.journalText(), &error) || !record.read(traces.recordText(), &error)) {
        qFatal("%s", qPrintable(error));
    }
    return checkRecord(record, journal, window);
}

// Index of an event in the middle of the second run.
qsizetype middleEvent(const SampleTraces& traces, const QByteArray& output = "pressure")
{
    for (qsizetype index = traces.events.size() * 3 / 4; index < traces.events.size(); ++index) {
        if (traces.events.at(index).output == output) {
            return index;
        }
    }
    qFatal("no such event");
}

} // namespace

class TestTourRecordCheck : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aGoodRecordPasses()
    {
        const SampleTraces traces;
        const RecordCheck result = check(traces);
        QVERIFY2(result.passed(), qPrintable(result.summary()));
        QCOMPARE(result.matched, traces.events.size());
        QCOMPARE(result.published, traces.events.size());
        QCOMPARE(result.pauseUs, SampleTraces::resumeUs - SampleTraces::pauseUs);
    }

    void aLostEventIsFound()
    {
        SampleTraces traces;
        const SampleTraces::Row removed = traces.events.takeAt(middleEvent(traces));
        const RecordCheck result = check(traces);
        QVERIFY(!result.passed());
        QCOMPARE(result.lost.size(), 1);
        QVERIFY2(result.lost.first().contains(QString::number(removed.sequence)), qPrintable(result.summary()));
        QVERIFY(result.doubled.isEmpty() && result.altered.isEmpty() && result.unknown.isEmpty());
    }

    void aLostImpulseIsFound()
    {
        SampleTraces traces;
        traces.events.removeAt(middleEvent(traces, "opened"));
        QCOMPARE(check(traces).lost.size(), 1);
    }

    void aDoubledEventIsFound()
    {
        SampleTraces traces;
        const qsizetype at = middleEvent(traces);
        traces.events.insert(at, SampleTraces::Row(traces.events.at(at)));
        const RecordCheck result = check(traces);
        QVERIFY(!result.passed());
        QCOMPARE(result.doubled.size(), 1);
        QVERIFY(result.lost.isEmpty());
    }

    void anAlteredValueIsFound()
    {
        SampleTraces traces;
        traces.events[middleEvent(traces)].value = "99.5";
        const RecordCheck result = check(traces);
        QVERIFY(!result.passed());
        QCOMPARE(result.altered.size(), 1);
        QVERIFY2(result.lost.isEmpty() && result.unknown.isEmpty(), qPrintable(result.summary()));
    }

    void anAlteredTimeIsFound()
    {
        SampleTraces traces;
        traces.events[middleEvent(traces)].timeUs += 1;
        const RecordCheck result = check(traces);
        QVERIFY(!result.passed());
        QCOMPARE(result.unknown.size(), 1);
        QCOMPARE(result.lost.size(), 1);
    }

    void anAlteredTypeIsFound()
    {
        SampleTraces traces;
        traces.events[middleEvent(traces, "running")].type = "string";
        QVERIFY(!check(traces).passed());
    }

    void twoEventsInTheWrongOrderAreFound()
    {
        SampleTraces traces;
        // Two publications of one microsecond, told in the other order.
        const qsizetype at = middleEvent(traces);
        const SampleTraces::Row event = traces.events.at(at);
        for (qsizetype index = 0; index < traces.publications.size(); ++index) {
            const SampleTraces::Row publication = traces.publications.at(index);
            if (publication.output == "pressure" && publication.sequence == event.sequence) {
                traces.publications.insert(index + 1, { "Pump", "level", 1, publication.timeUs, "integer", "7" });
                break;
            }
        }
        traces.events.insert(at, { "Pump", "level", 1, event.timeUs, "integer", "7" });
        const RecordCheck result = check(traces);
        QVERIFY(!result.passed());
        QCOMPARE(result.misordered.size(), 1);
    }

    void eventsOfThePauseAreFound()
    {
        SampleTraces traces;
        for (const SampleTraces::Row& publication : std::as_const(traces.publications)) {
            if (publication.timeUs > SampleTraces::pauseUs + 900'000 && publication.output == "pressure") {
                // Stored as if the recording had never been paused.
                SampleTraces::Row event = publication;
                event.timeUs -= SampleTraces::startUs;
                const auto place = std::find_if(traces.events.begin(), traces.events.end(),
                    [&](const SampleTraces::Row& row) { return row.timeUs > event.timeUs; });
                traces.events.insert(place, event);
                break;
            }
        }
        const RecordCheck result = check(traces);
        QVERIFY(!result.passed());
        QCOMPARE(result.boundaries.size(), 1);
    }

    void aRecordingThatBeganLateIsFound()
    {
        SampleTraces traces;
        traces.events.removeIf([](const SampleTraces::Row& row) { return row.timeUs < 1'000'000; });
        const RecordCheck result = check(traces);
        QVERIFY(!result.passed());
        QVERIFY(!result.lost.isEmpty());
    }

    void aRecordingThatEndedEarlyIsFound()
    {
        SampleTraces traces;
        traces.events.removeIf(
            [&](const SampleTraces::Row& row) { return row.timeUs > traces.durationUs - 1'000'000; });
        QVERIFY(!check(traces).lost.isEmpty());
    }

    void aPauseThatWasNotCutOutIsFound()
    {
        SampleTraces traces;
        const qint64 pauseUs = SampleTraces::resumeUs - SampleTraces::pauseUs;
        for (SampleTraces::Row& event : traces.events) {
            event.timeUs += event.timeUs >= SampleTraces::pauseUs - SampleTraces::startUs ? pauseUs : 0;
        }
        const RecordCheck result = check(traces);
        QVERIFY(!result.passed());
        QVERIFY(!result.boundaries.isEmpty());
    }

    void anAgentWithoutJournalIsFound()
    {
        SampleTraces traces;
        traces.events.append({ "Stranger", "value", 1, traces.durationUs, "integer", "1" });
        const RecordCheck result = check(traces);
        QVERIFY(!result.passed());
        QCOMPARE(result.unknown, QStringList("none of the 1 events of Stranger"));
    }

    void whatTheFiltersLeaveOutIsNoLoss()
    {
        SampleTraces traces;
        traces.events.removeIf([](const SampleTraces::Row& row) { return row.agent == "Valve"; });
        QVERIFY(!check(traces).passed());
        RecordingWindow window = SampleTraces::window();
        window.accepts = [](const QString& agent, const QString&) { return agent != "Valve"; };
        const RecordCheck result = check(traces, window);
        QVERIFY2(result.passed(), qPrintable(result.summary()));
    }

    void whatTheFiltersLeaveOutMustNotBeRecorded()
    {
        RecordingWindow window = SampleTraces::window();
        window.accepts = [](const QString& agent, const QString&) { return agent != "Valve"; };
        const RecordCheck result = check(SampleTraces(), window);
        QVERIFY(!result.passed());
        QVERIFY(!result.unknown.isEmpty());
    }

    void aWrongInitialValueIsFound()
    {
        SampleTraces traces;
        QCOMPARE(traces.initialValues.size(), 2);
        for (SampleTraces::Row& row : traces.initialValues) {
            if (row.output == "pressure") {
                row.value = "0.25";
            }
        }
        QCOMPARE(check(traces).initialValues.size(), 1);
    }

    void whatAnEarlierRunOfAnAgentPublishedIsNoInitialValue()
    {
        // The pump ran before, with an output that it has not published since it was started again.
        SampleTraces traces;
        const qint64 longAgo = SampleTraces::startUs - 100'000'000;
        traces.publications.prepend({ "Pump", "pressure", 1, longAgo + 1, "double", "9" });
        traces.publications.prepend({ "Pump", "fault", 1, longAgo, "string", "leak" });
        const RecordCheck result = check(traces);
        QVERIFY2(result.passed(), qPrintable(result.summary()));
    }

    void aMissingInitialValueIsFound()
    {
        SampleTraces traces;
        traces.initialValues.removeFirst();
        const RecordCheck result = check(traces);
        QVERIFY(!result.passed());
        QCOMPARE(result.initialValues.size(), 1);
    }

    void anEmptyRecordDoesNotPass()
    {
        SampleTraces traces;
        traces.events.clear();
        const RecordCheck result = check(traces);
        QVERIFY(!result.passed());
        QVERIFY(!result.lost.isEmpty());
    }

    void aRecordWithoutPausePasses()
    {
        SampleTraces traces;
        traces.publications.removeIf([](const SampleTraces::Row& row) { return row.timeUs > SampleTraces::pauseUs; });
        traces.events.removeIf(
            [](const SampleTraces::Row& row) { return row.timeUs > SampleTraces::pauseUs - SampleTraces::startUs; });
        RecordingWindow window;
        window.start = SampleTraces::window().start;
        window.stop = *SampleTraces::window().pause;
        const RecordCheck result = check(traces, window);
        QVERIFY2(result.passed(), qPrintable(result.summary()));
        QCOMPARE(result.pauseUs, 0);
    }
};

QTEST_APPLESS_MAIN(TestTourRecordCheck)
#include "tst_tour_recordcheck.moc"
