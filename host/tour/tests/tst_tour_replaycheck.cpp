// SPDX-License-Identifier: Apache-2.0
#include "replaycheck.h"
#include "sampletraces.h"

#include <QtTest/QTest>

#include <cmath>

using namespace tour;

namespace {

constexpr qint64 playedUs = 5'000'000'000;

RecordFile sampleRecord()
{
    RecordFile record;
    QString error;
    if (!record.read(SampleTraces().recordText(), &error)) {
        qFatal("%s", qPrintable(error));
    }
    return record;
}

// What an observer sees of a replay without fault: the state at once, then each event 3 ms late.
QList<Observation> goodReplay(const RecordFile& record, const ReplayStretch& stretch)
{
    QHash<QString, quint64> numbers;
    QList<Observation> observations;
    const auto publish = [&](const TracedEvent& event, qint64 receivedUs) {
        Observation observation;
        observation.event = event;
        observation.event.sequence = ++numbers[event.agent + '/' + event.output];
        observation.receivedUs = receivedUs;
        observation.isStandIn = true;
        observations.append(observation);
    };
    QMap<QString, TracedEvent> states;
    QList<TracedEvent> events;
    QList<TracedEvent> all = record.initialValues() + record.events();
    for (qsizetype index = 0; index < all.size(); ++index) {
        const TracedEvent& event = all.at(index);
        if (!stretch.agents.isEmpty() && !stretch.agents.contains(event.agent)) {
            continue;
        }
        const double atSeconds = double(event.timeUs) / 1e6;
        if (index < record.initialValues().size() || atSeconds < stretch.fromSeconds) {
            if (event.value.type != "impulse") {
                states.insert(event.agent + '/' + event.output, event);
            }
        } else if (!stretch.toSeconds || atSeconds <= *stretch.toSeconds) {
            events.append(event);
        }
    }
    for (const TracedEvent& state : std::as_const(states)) {
        publish(state, playedUs + 1'000);
    }
    for (const TracedEvent& event : std::as_const(events)) {
        const double waitUs = (double(event.timeUs) - stretch.fromSeconds * 1e6) / stretch.speed;
        publish(event, playedUs + 3'000 + std::llround(waitUs));
    }
    return observations;
}

ReplayStretch wholeStretch()
{
    ReplayStretch stretch;
    stretch.playedUs = playedUs;
    stretch.endedUs = playedUs + 60'000'000;
    return stretch;
}

} // namespace

class TestTourReplayCheck : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aGoodReplayPasses_data()
    {
        QTest::addColumn<double>("from");
        QTest::addColumn<double>("to");
        QTest::addColumn<double>("speed");
        QTest::addColumn<QStringList>("agents");
        QTest::newRow("whole") << 0.0 << -1.0 << 1.0 << QStringList();
        QTest::newRow("from the middle, faster") << 4.0 << -1.0 << 4.0 << QStringList();
        QTest::newRow("paused") << 0.0 << 3.0 << 1.0 << QStringList();
        QTest::newRow("one agent") << 0.0 << -1.0 << 2.0 << QStringList("Valve");
    }

    void aGoodReplayPasses()
    {
        QFETCH(double, from);
        QFETCH(double, to);
        QFETCH(double, speed);
        QFETCH(QStringList, agents);
        ReplayStretch stretch = wholeStretch();
        stretch.fromSeconds = from;
        stretch.speed = speed;
        stretch.agents = agents;
        if (to >= 0) {
            stretch.toSeconds = to;
        }
        const RecordFile record = sampleRecord();
        const ReplayCheck result = checkReplay(record, goodReplay(record, stretch), stretch);
        QVERIFY2(result.passed(), qPrintable(result.summary()));
        QVERIFY(result.observed > result.states);
        QVERIFY(result.mostLateMs < 0.01);
    }

    void aMissingEventIsFound()
    {
        const RecordFile record = sampleRecord();
        QList<Observation> observations = goodReplay(record, wholeStretch());
        observations.removeAt(observations.size() / 2);
        const ReplayCheck result = checkReplay(record, observations, wholeStretch());
        QVERIFY(!result.passed());
        QVERIFY(!result.lost.isEmpty());
        QVERIFY(!result.wrong.isEmpty());
    }

    void aMissingEndIsFound()
    {
        const RecordFile record = sampleRecord();
        QList<Observation> observations = goodReplay(record, wholeStretch());
        observations.resize(observations.size() - 5);
        QCOMPARE(checkReplay(record, observations, wholeStretch()).missing.size(), 5);
    }

    void aPauseThatCameTooEarlyOrTooLateIsFound()
    {
        const RecordFile record = sampleRecord();
        ReplayStretch stretch = wholeStretch();
        stretch.toSeconds = 3.0;
        const QList<Observation> observations = goodReplay(record, stretch);
        stretch.toSeconds = 3.5;
        QVERIFY(!checkReplay(record, observations, stretch).missing.isEmpty());
        stretch.toSeconds = 2.5;
        QVERIFY(!checkReplay(record, observations, stretch).wrong.isEmpty());
    }

    void aDoubledEventIsFound()
    {
        const RecordFile record = sampleRecord();
        QList<Observation> observations = goodReplay(record, wholeStretch());
        observations.insert(observations.size() / 2, Observation(observations.at(observations.size() / 2)));
        QVERIFY(!checkReplay(record, observations, wholeStretch()).passed());
    }

    void anAlteredValueIsFound()
    {
        const RecordFile record = sampleRecord();
        QList<Observation> observations = goodReplay(record, wholeStretch());
        Observation& altered = observations[observations.size() / 2];
        altered.event.value = { "double", "77" };
        QVERIFY(!checkReplay(record, observations, wholeStretch()).wrong.isEmpty());
    }

    void aMissingStateIsFound()
    {
        const RecordFile record = sampleRecord();
        ReplayStretch stretch = wholeStretch();
        stretch.fromSeconds = 4.0;
        QList<Observation> observations = goodReplay(record, stretch);
        QCOMPARE(observations.first().event.agent, "Pump");
        observations.removeFirst();
        const ReplayCheck result = checkReplay(record, observations, stretch);
        QVERIFY(!result.passed());
        QCOMPARE(result.missing.size(), 1);
    }

    void theStateOfTheStartInTheMiddleIsFound()
    {
        const RecordFile record = sampleRecord();
        ReplayStretch stretch = wholeStretch();
        stretch.fromSeconds = 4.0;
        QList<Observation> observations = goodReplay(record, stretch);
        for (Observation& observation : observations) {
            if (observation.event.output == "pressure") {
                observation.event.value = record.initialValues().first().value;
                break;
            }
        }
        QVERIFY(!checkReplay(record, observations, stretch).passed());
    }

    void anAgentThatIsNotReplayedIsFound()
    {
        const RecordFile record = sampleRecord();
        const QList<Observation> observations = goodReplay(record, wholeStretch());
        ReplayStretch stretch = wholeStretch();
        stretch.agents = QStringList("Pump");
        const ReplayCheck result = checkReplay(record, observations, stretch);
        QVERIFY(!result.passed());
        QVERIFY(!result.wrongAgents.isEmpty());
        QVERIFY(result.wrong.isEmpty());
    }

    // Every tenth event 25 ms late is what a machine does that halts now and then; four of ten is a fault of the replay.
    void eventsThatComeLateAreFound()
    {
        const RecordFile record = sampleRecord();
        for (const int lateOfTen : { 1, 4 }) {
            QList<Observation> observations = goodReplay(record, wholeStretch());
            for (qsizetype index = 0; index < observations.size(); ++index) {
                observations[index].receivedUs += index % 10 < lateOfTen ? 25'000 : 0;
            }
            const ReplayCheck result = checkReplay(record, observations, wholeStretch());
            QCOMPARE(result.timing.size(), lateOfTen == 4 ? 1 : 0);
            QCOMPARE(result.passed(), lateOfTen == 1);
            QVERIFY(result.oftenLateMs > 24.0);
        }
    }

    void aReplayAtTheWrongSpeedIsFound()
    {
        const RecordFile record = sampleRecord();
        ReplayStretch stretch = wholeStretch();
        stretch.speed = 1.02;
        const QList<Observation> observations = goodReplay(record, stretch);
        stretch.speed = 1.0;
        const ReplayCheck result = checkReplay(record, observations, stretch);
        QVERIFY(!result.passed());
        QVERIFY(std::abs(result.wholeErrorMs) > 50.0);
    }

    void liveAgentsAndLastValuesAreNoReplay()
    {
        const RecordFile record = sampleRecord();
        QList<Observation> observations = goodReplay(record, wholeStretch());
        Observation live = observations.first();
        live.isStandIn = false;
        observations.insert(3, live);
        Observation lastValue = observations.first();
        lastValue.isLastValue = true;
        observations.insert(5, lastValue);
        const ReplayCheck result = checkReplay(record, observations, wholeStretch());
        QVERIFY2(result.passed(), qPrintable(result.summary()));
    }

    void aReplayOfNothingDoesNotPass() { QVERIFY(!checkReplay(sampleRecord(), {}, wholeStretch()).passed()); }
};

QTEST_APPLESS_MAIN(TestTourReplayCheck)
#include "tst_tour_replaycheck.moc"
