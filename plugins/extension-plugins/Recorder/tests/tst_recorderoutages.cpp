// SPDX-License-Identifier: Apache-2.0
#include "modulefixture.h"

#include <networkconfiguration.h>

#include <QtCore/QCoreApplication>

namespace {

const QString HAS_ENDED
    = QStringLiteral("The recorder 'Recorder' left during a recording: nothing is recorded any more.");
const QString OUT_OF_REACH = QStringLiteral("The recorder 'Recorder' went out of reach during a recording: whether it "
                                            "goes on recording is known when it is back.");
const QString BACK_AND_RECORDING = QStringLiteral("The recorder 'Recorder' is back: its recording has not ended.");
const QString BACK_AND_DONE = QStringLiteral("The recorder 'Recorder' is back: its recording has ended.");
const QString RESTARTED
    = QStringLiteral("The recorder 'Recorder' was started again: the recording in which it went out "
                     "of reach has ended.");

/// A recorder in the middle of a recording, and what is told from then on.
class RecordingRecorder
{
public:
    enum class Place
    {
        Here, // it runs on this machine
        Elsewhere,
        Nowhere // its process has ended
    };

    explicit RecordingRecorder(Place place)
        : classInstance(fixture.addRecorder(QStringLiteral("Recorder")))
        , agent(ModuleFixture::agentOf(
              fixture.firstInstanceOf(classInstance), QUuid::createUuid().toString(QUuid::WithoutBraces)))
    {
        NetworkConfiguration::instance()->connectToNetwork();
        // A process that runs: on another machine the number says nothing.
        agent.processId = place == Place::Nowhere ? ModuleFixture::ENDED_PROCESS : QCoreApplication::applicationPid();
        if (place == Place::Elsewhere) {
            agent.hostName = QStringLiteral("pump-house");
        }
        ModuleFixture::enter(agent);
        instance = fixture.recorderOf(classInstance)->getRecorderInstanceWithAgentUuid(agent.uuid);
        publishProgress(1.0);
    }

    ~RecordingRecorder() { NetworkConfiguration::instance()->disconnectFromNetwork(); }
    Q_DISABLE_COPY_MOVE(RecordingRecorder)

    void publishProgress(double seconds)
    {
        ScriptedRecorder(instance).progress(instance->recordProgressInput(), seconds);
        QVERIFY(instance->isRecording());
    }
    void fallSilent() { QTRY_VERIFY(!instance->isRecording()); }
    void goOutOfReach() { ModuleFixture::leave(agent.uuid, QuenaryDouble::Exit::FallsSilent); }
    void takeLeave() { ModuleFixture::leave(agent.uuid, QuenaryDouble::Exit::TakesLeave); }
    void comeBack(const QString& recordId)
    {
        ModuleFixture::enter(agent);
        QVERIFY(instance->isOn());
        ScriptedRecorder(instance).reply("context", { "", "", 0.0, 0.0, 1.0, false, "", "", recordId });
    }

    ModuleFixture fixture;
    SystemViewClassInstance* classInstance;
    QuenaryDouble::Agent agent;
    RecorderInstance* instance = nullptr;
    const Told told;
};

using Place = RecordingRecorder::Place;

} // namespace

/// A recorder goes in the middle of a recording, because its process ended, or because it cannot be reached: the person
/// is told what is known of the recording then, and what became of it when the recorder comes back.
class tst_RecorderOutages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatIsKnownOfTheRecordingIsToldWhenItsRecorderGoes_data()
    {
        QTest::addColumn<Place>("place");
        QTest::addColumn<bool>("isSilentFirst");
        QTest::addColumn<QString>("text");
        QTest::newRow("killed") << Place::Nowhere << false << HAS_ENDED;
        QTest::newRow("killed, and noticed late") << Place::Nowhere << true << HAS_ENDED;
        QTest::newRow("frozen") << Place::Here << true << OUT_OF_REACH;
        QTest::newRow("cut off") << Place::Elsewhere << true << OUT_OF_REACH;
        QTest::newRow("cut off, and noticed at once") << Place::Elsewhere << false << OUT_OF_REACH;
    }
    void whatIsKnownOfTheRecordingIsToldWhenItsRecorderGoes()
    {
        QFETCH(const Place, place);
        QFETCH(const bool, isSilentFirst);
        QFETCH(const QString, text);
        RecordingRecorder recorder(place);
        if (isSilentFirst) {
            recorder.fallSilent();
            QCOMPARE(recorder.told.texts(), QStringList());
        }
        recorder.goOutOfReach();
        QCOMPARE(recorder.told.texts(), QStringList(text));
    }

    void aRecorderThatTakesItsLeaveHasEndedItsRecording_data()
    {
        QTest::addColumn<bool>("isSilentFirst");
        QTest::newRow("at once") << false;
        QTest::newRow("after a silence") << true;
    }
    void aRecorderThatTakesItsLeaveHasEndedItsRecording()
    {
        QFETCH(const bool, isSilentFirst);
        RecordingRecorder recorder(Place::Elsewhere);
        if (isSilentFirst) {
            recorder.fallSilent();
        }
        recorder.takeLeave();
        QCOMPARE(recorder.told.texts(), QStringList(HAS_ENDED));
        // When it comes again, that is no news.
        recorder.comeBack("");
        QCOMPARE(recorder.told.texts(), QStringList(HAS_ENDED));
    }

    void whatIsKnownIsNotTakenForAnEndWhenTheHostItselfLeavesTheNetwork()
    {
        RecordingRecorder recorder(Place::Elsewhere);
        NetworkConfiguration::instance()->disconnectFromNetwork();
        recorder.takeLeave();
        QCOMPARE(recorder.told.texts(), QStringList(OUT_OF_REACH));
    }

    void aRecorderThatIsBackAndStillRecordsIsTold()
    {
        RecordingRecorder recorder(Place::Elsewhere);
        recorder.fallSilent();
        recorder.goOutOfReach();
        recorder.comeBack(RECORD_A);
        QCOMPARE(recorder.told.texts(), QStringList({ OUT_OF_REACH, BACK_AND_RECORDING }));
        QVERIFY(recorder.instance->isRecording());
        // Once. And what comes next is told anew.
        ScriptedRecorder(recorder.instance).reply("context", { "", "", 0.0, 0.0, 1.0, false, "", "", RECORD_A });
        QCOMPARE(recorder.told.texts().size(), 2);
        recorder.goOutOfReach();
        recorder.comeBack("");
        QCOMPARE(recorder.told.texts().mid(2), QStringList({ OUT_OF_REACH, BACK_AND_DONE }));
    }

    void aRecorderThatWasStartedAgainHasEndedItsRecording()
    {
        RecordingRecorder recorder(Place::Elsewhere);
        recorder.fallSilent();
        recorder.goOutOfReach();
        recorder.agent.uuid = QUuid::createUuid().toString(QUuid::WithoutBraces);
        recorder.comeBack(RECORD_B);
        QCOMPARE(recorder.told.texts(), QStringList({ OUT_OF_REACH, RESTARTED }));
    }

    void afterAKnownEndAStartIsNoNews()
    {
        RecordingRecorder recorder(Place::Nowhere);
        recorder.goOutOfReach();
        recorder.agent.uuid = QUuid::createUuid().toString(QUuid::WithoutBraces);
        recorder.comeBack("");
        QCOMPARE(recorder.told.texts(), QStringList(HAS_ENDED));
    }

    void aSilenceThatARecorderOutlivesIsNoNews()
    {
        RecordingRecorder recorder(Place::Elsewhere);
        recorder.fallSilent();
        recorder.publishProgress(2.0);
        ScriptedRecorder(recorder.instance).records("[]");
        recorder.publishProgress(3.0);
        QCOMPARE(recorder.told.texts(), QStringList());
        // It was no end: what follows is told.
        recorder.fallSilent();
        recorder.goOutOfReach();
        QCOMPARE(recorder.told.texts(), QStringList(OUT_OF_REACH));
    }

    void aRecorderThatSendsItsListWithTheSilenceHasEndedItsRecording_data()
    {
        QTest::addColumn<bool>("isListedFirst");
        QTest::newRow("after it") << false;
        QTest::newRow("before it") << true;
    }
    void aRecorderThatSendsItsListWithTheSilenceHasEndedItsRecording()
    {
        QFETCH(const bool, isListedFirst);
        RecordingRecorder recorder(Place::Elsewhere);
        if (isListedFirst) {
            ScriptedRecorder(recorder.instance).records("[]");
        }
        recorder.fallSilent();
        if (!isListedFirst) {
            ScriptedRecorder(recorder.instance).records("[]");
        }
        recorder.goOutOfReach();
        QCOMPARE(recorder.told.texts(), QStringList());
    }

    void aRecorderThatHasConfirmedTheEndLeavesAtRest()
    {
        RecordingRecorder recorder(Place::Elsewhere);
        ScriptedRecorder(recorder.instance).reply("recording_stopped");
        recorder.goOutOfReach();
        recorder.comeBack("");
        QCOMPARE(recorder.told.texts(), QStringList());
    }

    void anEndThatWasOnlyAskedForIsNotKnown()
    {
        RecordingRecorder recorder(Place::Elsewhere);
        recorder.instance->stopRecording();
        QVERIFY(!recorder.instance->isRecording());
        recorder.goOutOfReach();
        QCOMPARE(recorder.told.texts(), QStringList(OUT_OF_REACH));
    }
};

QTEST_GUILESS_MAIN(tst_RecorderOutages)
#include "tst_recorderoutages.moc"
