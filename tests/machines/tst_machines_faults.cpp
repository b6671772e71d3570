// SPDX-License-Identifier: Apache-2.0
#include "countingrecord.h"
#include "sitetest.h"

#include <networkagents.h>
#include <quenary.h>

#include <recordfile.h>
#include <toursteps.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtTest/QTest>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using Fault = VirtualNetwork::Fault;

namespace {

const QString DEVICE = QStringLiteral("eth0");
const QString LAN = QStringLiteral("lan");
constexpr const char* NOBODY_KNOWS = "jammed";
// After how long at the latest a link is used that is back.
constexpr int LINK_IS_USED_MS = 1'000;
// So long that its import takes ten chunks.
constexpr qsizetype LONG_RECORD = 100'000;

QString build(VirtualNetwork& network)
{
    QString problem = network.addSwitch(LAN);
    int number = 0;
    for (const QString& machine : { Site::HOST, Site::RECORDER, Site::PLANT }) {
        problem += network.powerUp(machine, { { DEVICE, LAN, { QStringLiteral("10.87.0.%1/24").arg(++number) } } });
    }
    return problem;
}

// What docs/several-machines.md promises: more where the system lets a connection bound how long it waits.
int secondsThatLoseNobody()
{
    constexpr int LONGEST_RETRY_OPTION = 44; // TCP_RTO_MAX_MS
    const int connection = socket(AF_INET, SOCK_STREAM, 0);
    const bool isBound
        = setsockopt(connection, IPPROTO_TCP, LONGEST_RETRY_OPTION, &LINK_IS_USED_MS, sizeof LINK_IS_USED_MS) == 0;
    close(connection);
    return isBound ? 2 : 1;
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

/// The link to the recorder's machine is cut for a while, its processes stand still, it restarts elsewhere, or the
/// plant's machine is cut off: then everything finds itself again within the promised time, and no page waits for ever.
/// RR_LINK_SECONDS="2 20 60" (see scripts/link-test) has each cut last so long, by each kind of fault; without it there
/// are few.
class TestMachinesFaults : public SiteTest
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        _isOutageLong = false;
        _fellSilent.clear();
    }

    /// A short outage loses nobody, then or when it is over. Another right after it would make it a longer one.
    void cleanup()
    {
        QVERIFY2(_isOutageLong || _fellSilent.isEmpty(), qPrintable(_fellSilent.join(u'\n')));
        if (_isUsedLate) {
            QTest::qWait(LINK_IS_USED_MS);
        }
        _isUsedLate = false;
    }

    void everythingIsUp()
    {
        connect(NetworkAgents::instance(), &NetworkAgents::agentExited, this, [this](const NetworkAgent& agent) {
            if (!agent.hasTakenLeave) {
                _fellSilent << agent.name + QStringLiteral(" fell silent");
            }
        });
        QCOMPARE(site().join({ DEVICE, "", "" }), "");
        QCOMPARE(site().startLauncher(), "");
        QCOMPARE(site().addRecorder(), "");
        QCOMPARE(site().connectRecorder(), "");
    }

    void aRecordingSaysWhatItMissedOfAPlantThatWasCutOff_data() { _cuts({ "1 pulled" }); }
    void aRecordingSaysWhatItMissedOfAPlantThatWasCutOff()
    {
        QFETCH(const int, seconds);
        QFETCH(const Fault, fault);
        QCOMPARE(site().startPlant(), "");
        QCOMPARE(site().watchPlant(), "");
        QCOMPARE(site().startRecording(), "");
        QCOMPARE(site().recordFor(1.0), "");
        QCOMPARE(_cutFor(seconds, fault, Site::PLANT), "");
        const qint64 mendedUs = tour::nowUs();
        QCOMPARE(_foundAgain(seconds, Site::PLANT), "");
        // Its values come again, here and to the recorder, which was there all the time.
        QCOMPARE(site().seePlantAfter(mendedUs), "");
        QVERIFY(site().isOn() && site().instance.isTrue("isRecording"));
        if (_isNoticed(seconds)) {
            // What the recorder has met again is not to be seen from here.
            QCOMPARE(site().recordFor(Site::FOUND_AGAIN_MS / 1000.0), "");
        }
        QCOMPARE(site().stopRecording(), "");
        site().stopWatching();
        QCOMPARE(site().stopPlant(), "");
        QCOMPARE(site().download("plant.csv"), "");
        QCOMPARE(site().checkLosses("plant.csv", Site::AtTheEnd::AllAreBack), "");
        QCOMPARE(site().waitingFor(), "");
    }

    void aRecordingThatEndsWhileThePlantIsCutOffSaysSo_data() { _cuts({ "1 jammed" }); }
    void aRecordingThatEndsWhileThePlantIsCutOffSaysSo()
    {
        QFETCH(const int, seconds);
        QFETCH(const Fault, fault);
        QCOMPARE(site().recordPlant(1.0), "");
        QCOMPARE(network().cut(Site::PLANT, DEVICE, fault), "");
        QCOMPARE(_passes(seconds, Site::PLANT), "");
        _isOutageLong = true; // the recorder waits a while for who is not heard
        QCOMPARE(site().stopRecording(), "");
        QCOMPARE(network().mend(Site::PLANT, DEVICE), "");
        QCOMPARE(_foundAgain(seconds, Site::PLANT), "");
        QCOMPARE(site().stopPlant(), "");
        QCOMPARE(site().download("plant.csv"), "");
        QCOMPARE(site().checkLosses("plant.csv"), "");
    }

    void aRecordingGoesOnThroughACut_data() { _cuts({ "6 pulled" }); }
    void aRecordingGoesOnThroughACut()
    {
        QFETCH(const int, seconds);
        QFETCH(const Fault, fault);
        QCOMPARE(site().recordPlant(1.0), "");
        QCOMPARE(_cutFor(seconds, fault), "");
        QCOMPARE(_foundAgain(seconds), "");
        // The recorder recorded meanwhile, and the page shows how long.
        QCOMPARE(site().recordFor(0.5), "");
        QVERIFY(site().instance.number("recordingProgressInSeconds") > seconds);
        QCOMPARE(site().stopAndCheckLosses("record.csv"), "");
        QCOMPARE(site().waitingFor(), "");
        if (_isNoticed(seconds)) {
            const QString told = site().host.notices().join(u'\n');
            QVERIFY2(site().isTold("went out of reach during a recording"), qPrintable(told));
            QVERIFY2(site().isTold("is back: its recording has not ended"), qPrintable(told));
        }
    }

    void aPausedRecordingIsStillPausedAfterACut_data() { _cuts({ "1 pulled" }); }
    void aPausedRecordingIsStillPausedAfterACut()
    {
        QFETCH(const int, seconds);
        QFETCH(const Fault, fault);
        QCOMPARE(site().recordPlant(1.0), "");
        QCOMPARE(site().instance.call("pauseRecording"), "");
        QTRY_VERIFY_WITH_TIMEOUT(site().instance.isTrue("isRecordingPaused"), Site::PATIENCE_MS);
        QCOMPARE(_cutFor(seconds, fault), "");
        QCOMPARE(_foundAgain(seconds), "");
        QTRY_VERIFY_WITH_TIMEOUT(
            site().instance.isTrue("isRecording") && site().instance.isTrue("isRecordingPaused"), Site::PATIENCE_MS);
        QCOMPARE(site().instance.call("resumeRecording"), "");
        QTRY_VERIFY_WITH_TIMEOUT(!site().instance.isTrue("isRecordingPaused"), Site::PATIENCE_MS);
        QCOMPARE(site().recordFor(0.5), "");
        QCOMPARE(site().stopRecording(), "");
        QCOMPARE(site().stopPlant(), "");
        QVERIFY(site().record.number("durationInSeconds") >= 1.5);
        QCOMPARE(site().waitingFor(), "");
    }

    void aMachineThatStoodStillIsFoundAgainAndRecordsOn_data() { _pauses({ "6" }); }
    void aMachineThatStoodStillIsFoundAgainAndRecordsOn()
    {
        QFETCH(const int, seconds);
        QCOMPARE(site().recordPlant(1.0), "");
        QCOMPARE(_freezeFor(seconds), "");
        QCOMPARE(_foundAgain(seconds), "");
        // It is ended at once: who has not been met again by then is named in the record.
        QCOMPARE(site().stopAndCheckLosses("record.csv"), "");
    }

    void anIdleRecorderIsFoundAgainAfterACut_data() { _cuts({ "2 jammed" }); }
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

    void aReplayIsInHandAgainAfterACut_data() { _cuts({ "1 pulled" }); }
    void aReplayIsInHandAgainAfterACut()
    {
        QFETCH(const int, seconds);
        QFETCH(const Fault, fault);
        QCOMPARE(site().findRecordAgain(), "");
        QCOMPARE(site().load(), "");
        // Quicker where it lasts beyond the cut all the same.
        const bool isLong = site().record.number("durationInSeconds") > 2 * (seconds + 2);
        QCOMPARE(site().play(isLong ? 2.0 : 1.0), "");
        const double before = site().record.number("replayProgressInSecond");
        QCOMPARE(_cutFor(seconds, fault), "");
        QCOMPARE(_foundAgain(seconds), "");
        // The recorder played on meanwhile, and the page shows how far.
        QCOMPARE(site().findRecordAgain(), "");
        QTRY_VERIFY_WITH_TIMEOUT(
            site().record.isTrue("isReplaying") && site().record.number("replayProgressInSecond") > before + seconds,
            Site::PATIENCE_MS);
        QTRY_VERIFY_WITH_TIMEOUT(!site().record.isTrue("isReplaying"), Site::PATIENCE_MS);
        QCOMPARE(site().playToItsEnd(4.0), "");
        QCOMPARE(site().unload(), "");
        QCOMPARE(site().waitingFor(), "");
    }

    void aReplayIsInHandAgainAfterItsMachineStoodStill_data() { _pauses({ "6" }); }
    void aReplayIsInHandAgainAfterItsMachineStoodStill()
    {
        QFETCH(const int, seconds);
        QCOMPARE(site().findRecordAgain(), "");
        QCOMPARE(site().load(), "");
        QCOMPARE(site().play(1.0), "");
        QCOMPARE(_freezeFor(seconds), "");
        QCOMPARE(_foundAgain(seconds), "");
        // It goes on to its end by itself, and can be played again.
        QCOMPARE(site().findRecordAgain(), "");
        QTRY_VERIFY_WITH_TIMEOUT(site().record.isTrue("isLoaded"), Site::PATIENCE_MS); // told after the list
        QTRY_VERIFY_WITH_TIMEOUT(!site().record.isTrue("isReplaying"), Site::PATIENCE_MS);
        QCOMPARE(site().playToItsEnd(4.0), "");
        QCOMPARE(site().unload(), "");
        QCOMPARE(site().waitingFor(), "");
    }

    void aLoadEndsThoughTheLinkIsCutUnderIt_data() { _cuts({ "1 jammed" }); }
    void aLoadEndsThoughTheLinkIsCutUnderIt()
    {
        QFETCH(const int, seconds);
        QFETCH(const Fault, fault);
        QCOMPARE(site().findRecordAgain(), "");
        QCOMPARE(network().cut(Site::RECORDER, DEVICE, fault), "");
        QCOMPARE(site().beginLoad(), "");
        QVERIFY(site().instance.isTrue("isLoadingRecord"));
        QCOMPARE(_cutFor(seconds, fault), "");
        QCOMPARE(_foundAgain(seconds), "");
        if (_isNoticed(seconds)) {
            QVERIFY2(site().isTold("left while it loaded a record"), qPrintable(site().host.notices().join(u'\n')));
            QCOMPARE(site().findRecordAgain(), "");
            QCOMPARE(site().load(), "");
        }
        QTRY_VERIFY_WITH_TIMEOUT(site().record.isTrue("isLoaded"), Site::PATIENCE_MS);
        QCOMPARE(site().playToItsEnd(4.0), "");
        QCOMPARE(site().unload(), "");
        QCOMPARE(site().waitingFor(), "");
    }

    void aRecorderEndsThoughTheLinkIsCutAsItIsDisconnected_data() { _cuts({ "1 pulled" }); }
    void aRecorderEndsThoughTheLinkIsCutAsItIsDisconnected()
    {
        QFETCH(const int, seconds);
        QFETCH(const Fault, fault);
        QCOMPARE(network().cut(Site::RECORDER, DEVICE, fault), "");
        QCOMPARE(site().instance.call("disconnectAgent"), "");
        QCOMPARE(_cutFor(seconds, fault), "");
        if (_isNoticed(seconds)) {
            // Nobody could tell it.
            QCOMPARE(_foundAgain(seconds), "");
            QCOMPARE(site().disconnectRecorder(), "");
        }
        QTRY_VERIFY_WITH_TIMEOUT(!site().isOn() && site().hasLauncher(), Site::PATIENCE_MS);
        QCOMPARE(site().waitingFor(), "");
        QCOMPARE(site().connectRecorder(), "");
    }

    void aRecorderIsConnectedThoughTheLinkIsCutAsItIsStarted_data() { _cuts({ "1 jammed" }); }
    void aRecorderIsConnectedThoughTheLinkIsCutAsItIsStarted()
    {
        QFETCH(const int, seconds);
        QFETCH(const Fault, fault);
        QCOMPARE(site().disconnectRecorder(), "");
        QCOMPARE(network().cut(Site::RECORDER, DEVICE, fault), "");
        QCOMPARE(site().instance.call("connectAgent"), "");
        QCOMPARE(_cutFor(seconds, fault), "");
        QTRY_VERIFY_WITH_TIMEOUT(site().hasLauncher(), Site::FOUND_AGAIN_MS);
        if (_isNoticed(seconds)) {
            // Nobody could tell the launcher.
            QVERIFY(!site().isOn());
            QCOMPARE(site().connectRecorder(), "");
        }
        QTRY_VERIFY_WITH_TIMEOUT(site().isOn(), Site::PATIENCE_MS);
        QCOMPARE(site().waitingFor(), "");
        QCOMPARE(site().findRecordAgain(), "");
    }

    void aDownloadEndsThoughTheLinkIsCutUnderIt_data() { _cuts({ "1 jammed" }); }
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

    void anImportEndsThoughTheLinkIsCutUnderIt_data() { _cuts({ "1 pulled" }); }
    void anImportEndsThoughTheLinkIsCutUnderIt()
    {
        QFETCH(const int, seconds);
        QFETCH(const Fault, fault);
        const QByteArray file = countingRecord(LONG_RECORD);
        QString name = QStringLiteral("cut ") + QLatin1String(QTest::currentDataTag());
        QByteArray imported;
        // Given an import of which some chunks have been sent
        QCOMPARE(site().beginImport(name + ".csv", file), "");
        QTRY_VERIFY_WITH_TIMEOUT(site().instance.number("importingProgress") > 0.0, Site::PATIENCE_MS);
        QCOMPARE(network().cut(Site::RECORDER, DEVICE, fault), "");
        QVERIFY(site().instance.isTrue("isImportingRecord"));
        QCOMPARE(_cutFor(seconds, fault), "");
        QCOMPARE(_foundAgain(seconds), "");
        if (_isNoticed(seconds)) {
            QVERIFY2(site().isTold("left during an import"), qPrintable(site().host.notices().join(u'\n')));
            // The record of what was sent before says what it lacks.
            QCOMPARE(site().downloadImport(name, &imported), "");
            QCOMPARE(checkBrokenImport(file, imported), "");
            name += QStringLiteral(", again");
            QCOMPARE(site().beginImport(name + ".csv", file), "");
        }
        QTRY_VERIFY_WITH_TIMEOUT(!site().instance.isTrue("isImportingRecord"), Site::PATIENCE_MS);
        QCOMPARE(site().downloadImport(name, &imported), "");
        QCOMPARE(tour::describeDifference(tour::withoutNameFact(imported), tour::withoutNameFact(file)), "the same");
        QCOMPARE(site().waitingFor(), "");
    }

    void aMachineThatRestartsWithAnotherAddressIsFoundAgainWithItsRecords()
    {
        // Given a machine that loses its power while its recorder records, which the host notices
        QCOMPARE(site().recordPlant(5.0), "");
        _isOutageLong = true;
        site().losePower();
        QTRY_VERIFY_WITH_TIMEOUT(!site().isOn() && !site().hasLauncher(), 2 * QNY_PRESENCE_BOUND_MS);
        // When it starts again with another address, its launcher is found, and the recorder can be connected
        QCOMPARE(network().powerUp(Site::RECORDER, { { DEVICE, LAN, { "10.87.0.77/24" } } }), "");
        QCOMPARE(site().startLauncher(), "");
        QCOMPARE(site().connectRecorder(), "");
        // Then it has its records
        QCOMPARE(site().findRecordAgain(), "");
        QCOMPARE(site().download("restarted.csv"), "");
        QCOMPARE(contentOf(site().path("restarted.csv")), contentOf(site().path("record.csv")));
        // And the last one up to the end, which says that it was not ended; and records again
        QVERIFY(!site().instance.isTrue("isRecording"));
        QCOMPARE(site().stopPlant(), "");
        QCOMPARE(site().findRecordCutShort(), "");
        QCOMPARE(site().download("cut short.csv"), "");
        QCOMPARE(site().checkLosses("cut short.csv"), "");
        QVERIFY(contentOf(site().path("cut short.csv")).contains("without closing this record"));
        QCOMPARE(site().waitingFor(), "");
        QCOMPARE(site().disconnectRecorder(), "");
    }

    void aSecuredRecordingGoesOnThroughACut_data() { _cuts({ "6 jammed" }); }
    void aSecuredRecordingGoesOnThroughACut()
    {
        QFETCH(const int, seconds);
        QFETCH(const Fault, fault);
        _isOutageLong = true; // everybody leaves, and comes again secured
        if (!qny_is_secured()) {
            QVERIFY(!site().isOn() || site().disconnectRecorder().isEmpty());
            QCOMPARE(site().join({ DEVICE, "", "", true }), "");
            QCOMPARE(site().startLauncher(), "");
            QCOMPARE(site().addRecorder(), "");
            QCOMPARE(site().connectRecorder(), "");
        }
        QVERIFY(qny_is_secured());
        QCOMPARE(site().recordPlant(1.0), "");
        QCOMPARE(_cutFor(seconds, fault), "");
        QCOMPARE(_foundAgain(seconds), "");
        QCOMPARE(site().recordFor(0.5), "");
        QCOMPARE(site().stopAndCheckLosses("secured.csv"), "");
        QCOMPARE(site().waitingFor(), "");
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

    bool _isThere(const QString& machine)
    {
        return machine == Site::PLANT ? site().plantAgentsSeen() == SamplePlant::agentNames().size()
                                      : site().isOn() && site().hasLauncher();
    }
    bool _isGone(const QString& machine)
    {
        return machine == Site::PLANT ? site().plantAgentsSeen() == 0 : !site().isOn() && !site().hasLauncher();
    }

    // Lasts as long as it is asked to. What lasts longer than presence has to be noticed meanwhile.
    QString _passes(int seconds, const QString& machine = Site::RECORDER)
    {
        _isOutageLong = seconds > secondsThatLoseNobody();
        _isUsedLate = !_isOutageLong && seconds > 1;
        QElapsedTimer elapsed;
        elapsed.start();
        const int noticed = QNY_PRESENCE_BOUND_MS + 1000;
        if (_isNoticed(seconds) && !tour::waitUntil([&] { return _isGone(machine); }, noticed)) {
            return QStringLiteral("nothing was noticed within %1 ms").arg(noticed);
        }
        QTest::qWait(static_cast<int>(std::max<qint64>(seconds * 1000 - elapsed.elapsed(), 0)));
        return {};
    }

    QString _cutFor(int seconds, Fault fault, const QString& machine = Site::RECORDER)
    {
        QString problem = network().cut(machine, DEVICE, fault);
        if (problem.isEmpty()) {
            problem = _passes(seconds, machine);
        }
        return problem + network().mend(machine, DEVICE);
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
    QString _foundAgain(int seconds, const QString& machine = Site::RECORDER)
    {
        QElapsedTimer elapsed;
        elapsed.start();
        if (!tour::waitUntil([&] { return _isThere(machine); }, Site::FOUND_AGAIN_MS)) {
            return QStringLiteral("not found again within %1 ms; on: %2, launcher: %3, agents of the plant: %4")
                .arg(Site::FOUND_AGAIN_MS)
                .arg(site().isOn())
                .arg(site().hasLauncher())
                .arg(site().plantAgentsSeen());
        }
        qInfo("found again %lld ms after %d s", static_cast<long long>(elapsed.elapsed()), seconds);
        // What was asked for before has an answer, or was given up.
        const bool isAnswered = tour::waitUntil([this] { return site().waitingFor().isEmpty(); }, Site::PATIENCE_MS);
        return isAnswered ? QString() : QStringLiteral("still waiting for ") + site().waitingFor();
    }

    bool _isOutageLong = false; // it may cost somebody's presence
    bool _isUsedLate = false; // the link, after it was mended: nobody can see when it is
    QStringList _fellSilent; // in this row
};

int main(int argc, char** argv)
{
    return SiteTest::run<TestMachinesFaults>(argc, argv, build);
}

#include "tst_machines_faults.moc"
