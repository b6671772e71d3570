// SPDX-License-Identifier: Apache-2.0
#include "sitetest.h"

#include <quenary.h>

#include <toursteps.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtTest/QTest>

using Fault = VirtualNetwork::Fault;

namespace {

const QString DEVICE = QStringLiteral("eth0");
const QString LAN = QStringLiteral("lan");
constexpr const char* NOBODY_KNOWS = "jammed";

QString build(VirtualNetwork& network)
{
    QString problem = network.addSwitch(LAN);
    int number = 0;
    for (const QString& machine : { Site::HOST, Site::RECORDER, Site::PLANT }) {
        problem += network.powerUp(machine, { { DEVICE, LAN, { QStringLiteral("10.87.0.%1/24").arg(++number) } } });
    }
    return problem;
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

/// The link to the recorder's machine is cut for a while, its processes stand still, it restarts elsewhere: then
/// everything finds itself again within the promised time, and no page waits for ever.
/// RR_LINK_SECONDS="2 20 60" (see scripts/link-test) has each cut last so long, by each kind of fault; without it there
/// are few.
class TestMachinesFaults : public SiteTest
{
    Q_OBJECT

private Q_SLOTS:
    void everythingIsUp()
    {
        QCOMPARE(site().join({ DEVICE, "", "" }), "");
        QCOMPARE(site().startLauncher(), "");
        QCOMPARE(site().addRecorder(), "");
        QCOMPARE(site().connectRecorder(), "");
    }

    void aRecordingGoesOnThroughACut_data() { _cuts({ "7 pulled" }); }
    void aRecordingGoesOnThroughACut()
    {
        QFETCH(const int, seconds);
        QFETCH(const Fault, fault);
        QCOMPARE(site().startPlant(), "");
        QCOMPARE(site().startRecording(), "");
        QCOMPARE(site().recordFor(1.0), "");
        QCOMPARE(_cutFor(seconds, fault), "");
        QCOMPARE(_foundAgain(seconds), "");
        // The recorder recorded meanwhile, and the page shows how long.
        QCOMPARE(site().recordFor(0.5), "");
        QVERIFY(site().instance.number("recordingProgressInSeconds") > seconds);
        QCOMPARE(site().stopRecording(), "");
        QCOMPARE(site().stopPlant(), "");
        QCOMPARE(site().download("record.csv"), "");
        QCOMPARE(site().checkLosses("record.csv"), "");
        QCOMPARE(site().waitingFor(), "");
        if (_isNoticed(seconds)) {
            const QString told = site().host.notices().join(u'\n');
            QVERIFY2(site().isTold("went out of reach during a recording"), qPrintable(told));
            QVERIFY2(site().isTold("is back: its recording has not ended"), qPrintable(told));
        }
    }

    void aMachineThatStoodStillIsFoundAgainAndRecordsOn_data() { _pauses({ "7" }); }
    void aMachineThatStoodStillIsFoundAgainAndRecordsOn()
    {
        QFETCH(const int, seconds);
        QCOMPARE(site().startPlant(), "");
        QCOMPARE(site().startRecording(), "");
        QCOMPARE(site().recordFor(1.0), "");
        QCOMPARE(_freezeFor(seconds), "");
        QCOMPARE(_foundAgain(seconds), "");
        // It is ended at once: who has not been met again by then is named in the record.
        QCOMPARE(site().stopRecording(), "");
        QCOMPARE(site().stopPlant(), "");
        QCOMPARE(site().download("record.csv"), "");
        QCOMPARE(site().checkLosses("record.csv"), "");
    }

    void anIdleRecorderIsFoundAgainAfterACut_data() { _cuts({ "2 pulled" }); }
    void anIdleRecorderIsFoundAgainAfterACut()
    {
        QFETCH(const int, seconds);
        QFETCH(const Fault, fault);
        QCOMPARE(_cutFor(seconds, fault), "");
        QCOMPARE(_foundAgain(seconds), "");
        // It answers.
        const tour::SignalCounter lists(site().module, SIGNAL(recordsReceived(QString, QString)));
        QCOMPARE(site().instance.call("getRecords", { QString() }), "");
        QTRY_VERIFY_WITH_TIMEOUT(lists.count() > 0, Site::PATIENCE_MS);
    }

    void aReplayIsInHandAgainAfterACut_data() { _cuts({ "2 jammed" }); }
    void aReplayIsInHandAgainAfterACut()
    {
        QFETCH(const int, seconds);
        QFETCH(const Fault, fault);
        QCOMPARE(site().findRecordAgain(), "");
        QCOMPARE(site().load(), "");
        QCOMPARE(site().play(1.0), "");
        QCOMPARE(_cutFor(seconds, fault), "");
        QCOMPARE(_foundAgain(seconds), "");
        // The recorder played on meanwhile, and the page shows how far.
        QCOMPARE(site().findRecordAgain(), "");
        QCOMPARE(site().loadUnlessLoaded(), "");
        QTRY_VERIFY_WITH_TIMEOUT(!site().record.isTrue("isReplaying"), Site::PATIENCE_MS);
        QCOMPARE(site().playToItsEnd(4.0), "");
        QCOMPARE(site().unload(), "");
        QCOMPARE(site().waitingFor(), "");
    }

    void aDownloadEndsThoughTheLinkIsCutUnderIt_data() { _cuts({ "2 jammed" }); }
    void aDownloadEndsThoughTheLinkIsCutUnderIt()
    {
        QFETCH(const int, seconds);
        QFETCH(const Fault, fault);
        QCOMPARE(site().findRecordAgain(), "");
        QCOMPARE(network().cut(Site::RECORDER, DEVICE, fault), "");
        QCOMPARE(site().beginDownload("cut.csv"), "");
        QVERIFY(site().instance.isTrue("isDownloadingRecord"));
        QCOMPARE(_cutFor(seconds, fault), "");
        QCOMPARE(_foundAgain(seconds), "");
        if (_isNoticed(seconds)) {
            QVERIFY2(site().isTold("left during a download"), qPrintable(site().host.notices().join(u'\n')));
            QCOMPARE(site().findRecordAgain(), "");
            QCOMPARE(site().download("cut.csv"), "");
        }
        QTRY_VERIFY_WITH_TIMEOUT(!site().instance.isTrue("isDownloadingRecord"), Site::PATIENCE_MS);
        QCOMPARE(contentOf(site().path("cut.csv")), contentOf(site().path("record.csv")));
    }

    void aMachineThatRestartsWithAnotherAddressIsFoundAgainWithItsRecords()
    {
        // Given a machine that loses its power, which the host notices
        network().powerDown(Site::RECORDER);
        site().forgetLauncher();
        QTRY_VERIFY_WITH_TIMEOUT(!site().isOn() && !site().hasLauncher(), 2 * QNY_PRESENCE_BOUND_MS);
        // When it starts again with another address, its launcher is found, and the recorder can be connected
        QCOMPARE(network().powerUp(Site::RECORDER, { { DEVICE, LAN, { "10.87.0.77/24" } } }), "");
        QCOMPARE(site().startLauncher(), "");
        QCOMPARE(site().connectRecorder(), "");
        // Then it has its records
        QCOMPARE(site().findRecordAgain(), "");
        QCOMPARE(site().download("restarted.csv"), "");
        QCOMPARE(contentOf(site().path("restarted.csv")), contentOf(site().path("record.csv")));
        QCOMPARE(site().disconnectRecorder(), "");
    }

private:
    static bool _isNoticed(int seconds) { return seconds * 1000 > QNY_PRESENCE_BOUND_MS; }

    static QStringList _asked(const QStringList& defaults, const QStringList& kinds)
    {
        const QStringList seconds = qEnvironmentVariable("RR_LINK_SECONDS").split(QLatin1Char(' '), Qt::SkipEmptyParts);
        QStringList all;
        for (const QString& each : seconds) {
            for (const QString& kind : kinds) {
                all << QString(each + u' ' + kind).trimmed();
            }
        }
        return all.isEmpty() ? defaults : all;
    }

    static void _cuts(const QStringList& defaults)
    {
        QTest::addColumn<int>("seconds");
        QTest::addColumn<Fault>("fault");
        for (const QString& cut : _asked(defaults, { "pulled", NOBODY_KNOWS })) {
            QTest::newRow(qPrintable(cut.section(u' ', 0, 0) + " s, " + cut.section(u' ', 1)))
                << cut.section(u' ', 0, 0).toInt()
                << (cut.endsWith(QLatin1String(NOBODY_KNOWS)) ? Fault::Jammed : Fault::Pulled);
        }
    }

    static void _pauses(const QStringList& defaults)
    {
        QTest::addColumn<int>("seconds");
        for (const QString& seconds : _asked(defaults, { QString() })) {
            QTest::newRow(qPrintable(seconds + " s")) << seconds.toInt();
        }
    }

    // Lasts as long as it is asked to. What lasts longer than presence has to be noticed meanwhile.
    QString _passes(int seconds)
    {
        QElapsedTimer elapsed;
        elapsed.start();
        const int noticed = QNY_PRESENCE_BOUND_MS + 1000;
        if (_isNoticed(seconds)
            && !tour::waitUntil([this] { return !site().isOn() && !site().hasLauncher(); }, noticed)) {
            return QStringLiteral("nothing was noticed within %1 ms").arg(noticed);
        }
        QTest::qWait(static_cast<int>(std::max<qint64>(seconds * 1000 - elapsed.elapsed(), 0)));
        return {};
    }

    QString _cutFor(int seconds, Fault fault)
    {
        QString problem = network().cut(Site::RECORDER, DEVICE, fault);
        if (problem.isEmpty()) {
            problem = _passes(seconds);
        }
        return problem + network().mend(Site::RECORDER, DEVICE);
    }

    QString _freezeFor(int seconds)
    {
        QString problem = network().machine(Site::RECORDER)->freeze();
        if (problem.isEmpty()) {
            problem = _passes(seconds);
        }
        return problem + network().machine(Site::RECORDER)->thaw();
    }

    // Within the time that the documents promise.
    QString _foundAgain(int seconds)
    {
        QElapsedTimer elapsed;
        elapsed.start();
        const bool isFound
            = tour::waitUntil([this] { return site().isOn() && site().hasLauncher(); }, Site::FOUND_AGAIN_MS);
        if (!isFound) {
            return QStringLiteral("not found again within %1 ms; on: %2, launcher: %3")
                .arg(Site::FOUND_AGAIN_MS)
                .arg(site().isOn())
                .arg(site().hasLauncher());
        }
        qInfo("found again %lld ms after %d s", static_cast<long long>(elapsed.elapsed()), seconds);
        // What was asked for before has an answer, or was given up.
        const bool isAnswered = tour::waitUntil([this] { return site().waitingFor().isEmpty(); }, Site::PATIENCE_MS);
        return isAnswered ? QString() : QStringLiteral("still waiting for ") + site().waitingFor();
    }
};

int main(int argc, char** argv)
{
    return SiteTest::run<TestMachinesFaults>(argc, argv, build);
}

#include "tst_machines_faults.moc"
