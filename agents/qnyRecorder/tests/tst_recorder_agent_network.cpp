// SPDX-License-Identifier: Apache-2.0
// The whole program among other agents, started with other options, and on machines that fail it.
#include "scriptedhost.h"
#include "smalldisk.h"

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include <quenary_families.h>

#include <csignal>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace recorder;
using namespace recorder::testing;

namespace {

/// Long enough for the recorder to have taken in who came or went.
constexpr int PRESENCE_MS = 300;

/// A process that is expected to end at once.
struct Ended
{
    int status = -1;
    QString error;
};

Ended run(
    const QStringList& arguments, const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(RecorderProcess::executable(), arguments);
    if (!process.waitForFinished(10'000)) {
        process.kill();
        process.waitForFinished();
        return { -1, "did not end" };
    }
    return { process.exitCode(), QString::fromUtf8(process.readAllStandardError()) };
}

} // namespace

class RecorderAgentNetworkTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir _directory;
    std::unique_ptr<RecorderProcess> _recorder;
    std::unique_ptr<ScriptedHost> _host;

    bool start(const QStringList& options, const char* name = "Tape")
    {
        _recorder = std::make_unique<RecorderProcess>(name);
        return _recorder->start(options + QStringList { "-v" });
    }

    QStringList storeOptions() const
    {
        return { "-c", "embedded:9042", "--data-directory", _directory.filePath("store") };
    }

    bool call(const char* service, const std::vector<Argument>& arguments = {})
    {
        return _host->call(_recorder->name(), service, arguments);
    }

    QString record()
    {
        _host->call(_recorder->name(), "record", { QByteArray("take"), QByteArray(""), QByteArray("") },
            QByteArray("host-id##record"));
        const auto reply = _host->reply("record_uuid", "host-id##record");
        return reply ? reply->text(0) : QString();
    }

    bool stopRecording()
    {
        call("stop_recording");
        return _host->reply("recording_stopped").has_value();
    }

    QByteArray exported(const QString& uuid)
    {
        call("export", { uuid.toUtf8(), 0, QByteArray(""), -1, true, false });
        const auto chunk = _host->reply("receive_export");
        return chunk ? chunk->text(3).toUtf8() : QByteArray("no answer");
    }

private slots:
    void initTestCase()
    {
        QVERIFY(_directory.isValid());
        QVERIFY2(TestNetwork::join(), qny_last_error());
        _host = std::make_unique<ScriptedHost>(qny_default_agent());
    }

    void cleanupTestCase()
    {
        _host.reset();
        TestNetwork::leave();
    }

    void cleanup()
    {
        if (_recorder && QTest::currentTestFailed()) {
            qInfo().noquote() << _recorder->log();
        }
        if (_recorder && _recorder->isRunning()) {
            _recorder->terminate();
        }
        _recorder.reset();
        _host->takeAll();
        _host->clearArrivals();
    }

    // ---- starting

    void whatCannotStartSaysWhyInOneLine_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("mentions");
        const QString port = QString::number(TestNetwork::port());
        QTest::newRow("unknown option") << QStringList { "--nonsense" } << 2 << "nonsense";
#ifdef RR_HAS_CASSANDRA
        QTest::newRow("authorities") << QStringList { "-c", "127.0.0.1:1", "--tls-ca", "/missing.pem",
            "--data-directory", _directory.path() }
                                     << 1 << "/missing.pem";
#else
        QTest::newRow("Cassandra") << QStringList { "-c", "db:9042" } << 2 << "embedded";
#endif
        QTest::newRow("certificates") << QStringList { "--qnyCert", "/missing.cert_secret", "--publicCerts", "/b",
            "--data-directory", _directory.path() }
                                      << 1 << "/missing.cert_secret";
        QTest::newRow("one certificate") << QStringList { "--qnyCert", "/a", "--data-directory", _directory.path() }
                                         << 1 << "public certificates is not";
        QTest::newRow("operators that are nowhere") << QStringList { "--operators", "/missing", "--qnyCert", "/a",
            "--data-directory", _directory.path() } << 1 << "/missing";
        QTest::newRow("operators without security")
            << QStringList { "--operators", _directory.path(), "--data-directory", _directory.path(), "--port", port }
            << 1 << "secured network";
        QTest::newRow("data directory") << QStringList { "--data-directory", "/dev/null/records" } << 1
                                        << "/dev/null/records";
        QTest::newRow("unknown device") << QStringList { "--device", "nodevice7", "--port", port, "--data-directory",
            _directory.path() } << 1 << "nodevice7";
    }
    void whatCannotStartSaysWhyInOneLine()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, status);
        QFETCH(QString, mentions);
        const Ended ended = run(arguments);
        QCOMPARE(ended.status, status);
        QVERIFY2(ended.error.contains(mentions), qPrintable(ended.error));
        QCOMPARE(ended.error.count('\n'), 1);
    }

    void aPortThatAnotherProgramHoldsIsSaid()
    {
        const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        sockaddr_in address {};
        address.sin_family = AF_INET;
        QCOMPARE(bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        socklen_t length = sizeof address;
        getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length);
        const QString port = QString::number(ntohs(address.sin_port));
        const Ended ended = run({ "--port", port, "--device", "lo", "--data-directory", _directory.filePath("port") });
        ::close(socket);
        QCOMPARE(ended.status, 1);
        QVERIFY2(ended.error.contains(port), qPrintable(ended.error));
    }

    void theEnvironmentGivesDeviceAndPortWhereTheOptionsDoNot()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QNY_DEVICE", "nodevice8");
        const Ended ended = run({ "--data-directory", _directory.filePath("environment") }, environment);
        QCOMPARE(ended.status, 1);
        QVERIFY2(ended.error.contains("nodevice8"), qPrintable(ended.error));
    }

    void othersSeeARecorderWhosePasswordIsMasked()
    {
        QVERIFY(start(storeOptions() + QStringList { "-u", "me", "--cassandra_password", "secret" }));
        struct Seen
        {
            std::string family;
            QStringList arguments;
            QStringList services;
            bool isStoppable = false;
        } seen;
        const auto look = [](qny_agent_event_t, const qny_agent_info_t* agent, void* data) {
            auto* one = static_cast<Seen*>(data);
            one->family = agent->family;
            for (size_t i = 0; i < agent->arguments_count; ++i) {
                one->arguments.append(QString::fromUtf8(agent->arguments[i]));
            }
            const QJsonObject definition = QJsonDocument::fromJson(agent->definition).object();
            for (const QJsonValue& service : definition["services"].toArray()) {
                one->services.append(service["name"].toString());
            }
            one->isStoppable = agent->stoppable;
        };
        qny_observe_agents(look, &seen);
        QVERIFY(waitUntil([&] { return !seen.family.empty(); }));
        qny_unobserve_agents(look, &seen);
        QCOMPARE(seen.family, std::string(QNY_FAMILY_RECORDER));
        QVERIFY(seen.arguments.contains("********"));
        QVERIFY(!seen.arguments.join(' ').contains("secret"));
        QCOMPARE(seen.services.size(), 21);
        QVERIFY(seen.isStoppable);
    }

    void interruptFinishesTheRecordingAndEndsWell()
    {
        QVERIFY(start(storeOptions()));
        const QString uuid = record();
        QVERIFY(!uuid.isEmpty());
        QTest::qWait(200);
        QCOMPARE(::kill(static_cast<pid_t>(_recorder->processId()), SIGINT), 0);
        QCOMPARE(_recorder->waitForEnd(), 0);
        QVERIFY(_host->reply("recording_stopped"));
        QVERIFY(start(storeOptions()));
        QVERIFY(exported(uuid).contains(";record;duration_us;"));
    }

    // ---- recording among others

    void agentsThatComeLaterAreRecordedFromTheirArrival()
    {
        QVERIFY(start(storeOptions()));
        const QString uuid = record();
        {
            PlantAgent late("late");
            QTest::qWait(PRESENCE_MS);
            late.publish("count", int32_t(1));
            late.publish("count", int32_t(2));
            QTest::qWait(50);
        }
        QVERIFY(stopRecording());
        const QByteArray csv = exported(uuid);
        QVERIFY2(csv.contains(";output;count;integer;1\n") && csv.contains(";output;count;integer;2"), csv.constData());
        QVERIFY(csv.contains("late;0;agent;"));
    }

    void valuesAtTheStartAreKeptAndEventsCounted()
    {
        QVERIFY(start(storeOptions()));
        PlantAgent pump("pump");
        pump.publish("level", 41.5);
        QTest::qWait(PRESENCE_MS);
        const QString uuid = record();
        for (int i = 0; i < 5000; ++i) {
            pump.publish("level", double(i));
        }
        QVERIFY(stopRecording());
        const QByteArray csv = exported(uuid);
        QVERIFY2(csv.contains("pump;0;initial;level;double;41.5\n"), csv.left(2000).constData());
        QCOMPARE(csv.count(";output;level;"), 5000);
        QVERIFY(csv.contains(R"(""stored"":5000)"));
        QVERIFY(csv.contains(R"(""complete"":true)"));
    }

    void neitherRecordersNorStandInsAreRecorded()
    {
        QVERIFY(start(storeOptions()));
        // Given a record, and a second recorder that records
        QString uuid;
        {
            PlantAgent pump("pump");
            QTest::qWait(PRESENCE_MS);
            uuid = record();
            pump.publish("level", 1.0);
            QTest::qWait(50);
            QVERIFY(stopRecording());
        }
        RecorderProcess second("Second tape");
        QVERIFY(second.start({ "-c", "embedded:9042", "--data-directory", _directory.filePath("second") }));
        QTest::qWait(PRESENCE_MS);
        _host->call(second.name(), "record", { QByteArray("of a replay"), QByteArray(""), QByteArray("") },
            QByteArray("host-id##record"));
        const QString secondUuid = _host->reply("record_uuid", "host-id##record")->text(0);
        // When the first replays
        call("load", { uuid.toUtf8(), 0.0, 10.0 });
        QVERIFY(_host->reply("loaded"));
        call("play");
        QVERIFY(_host->reply("replay_ended"));
        _host->call(second.name(), "stop_recording");
        QVERIFY(_host->reply("recording_stopped"));
        // Then nothing of it was recorded
        _host->call(second.name(), "export", { secondUuid.toUtf8(), 0, QByteArray(""), -1, true, false });
        const auto chunk = _host->reply("receive_export");
        QVERIFY(chunk);
        const QByteArray csv = chunk->text(3).toUtf8();
        QVERIFY2(!csv.contains(";output;") && !csv.contains(";agent;"), csv.constData());
        QCOMPARE(second.terminate(), 0);
    }

    void everyHostIsAnsweredForItself()
    {
        QVERIFY(start(storeOptions()));
        qny_agent_t* agent = qny_agent_new("Second host", nullptr);
        {
            ScriptedHost second(agent);
            qny_agent_activate(agent);
            QTest::qWait(PRESENCE_MS);
            const QString uuid = record();
            second.call(_recorder->name(), "record", { QByteArray("x"), QByteArray(""), QByteArray("") },
                QByteArray("other##record"));
            const auto same = second.reply("record_uuid", "other##record");
            QVERIFY(same);
            QCOMPARE(same->text(0), uuid);
            second.call(_recorder->name(), "stop_recording", {}, QByteArray("other"));
            QVERIFY(second.reply("recording_stopped", "other"));
            QVERIFY(!_host->hears("recording_stopped", 100));
        }
        qny_agent_destroy(agent);
    }

    // ---- options of replay

    void aTimestampedReplayCarriesTheRecordedTimes()
    {
        QVERIFY(start(storeOptions() + QStringList { "--timestamped_replay" }));
        QString uuid;
        int64_t before = 0;
        int64_t after = 0;
        {
            PlantAgent pump("pump");
            QTest::qWait(PRESENCE_MS);
            uuid = record();
            before = QDateTime::currentMSecsSinceEpoch() * 1000 - 1000;
            for (int i = 1; i <= 3; ++i) {
                pump.publish("level", double(i));
                QTest::qWait(30);
            }
            after = QDateTime::currentMSecsSinceEpoch() * 1000 + 1000;
            QVERIFY(stopRecording());
        }
        QTest::qWait(PRESENCE_MS + 500);
        call("load", { uuid.toUtf8(), 0.0, 10.0 });
        QVERIFY(_host->reply("loaded"));
        _host->listen("pump", "level");
        call("play");
        QVERIFY(_host->reply("replay_ended"));
        const auto levels = _host->arrivals("pump/level");
        QVERIFY(levels.size() >= 4);
        int64_t last = 0;
        for (const Arrival& level : levels) {
            if (level.number >= 1.0) {
                QVERIFY2(level.timeUs >= before && level.timeUs <= after,
                    qPrintable(QString::number(level.timeUs - before)));
                QVERIFY(level.timeUs >= last + 25'000 || last == 0);
                last = level.timeUs;
            }
        }
    }

    void theGuardOfLiveAgentsIsLiftedWhenAsked()
    {
        QVERIFY(start(storeOptions() + QStringList { "--replay_over_live" }));
        PlantAgent pump("pump");
        QTest::qWait(PRESENCE_MS);
        const QString uuid = record();
        pump.publish("level", 1.0);
        QTest::qWait(50);
        QVERIFY(stopRecording());
        call("load", { uuid.toUtf8(), 0.0, 10.0 });
        QVERIFY(_host->reply("loaded"));
        call("play");
        QVERIFY(_host->reply("replay_ended"));
    }

    // ---- without room

    void aFullDiskEndsTheRecordingAndKeepsWhatWasStored_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::newRow("the built-in database") << QStringList { "-c", "embedded:9042" };
        QTest::newRow("files") << QStringList {};
    }

    void aFullDiskEndsTheRecordingAndKeepsWhatWasStored()
    {
        QFETCH(QStringList, options);
        const QString path = _directory.filePath("small");
        QVERIFY(QDir().mkpath(path));
        const SmallDisk disk(path.toStdString(), "size=4m");
        if (!disk.isMounted()) {
            QSKIP("a small disk can be made only as root");
        }
        QVERIFY(start(options + QStringList { "--data-directory", path }));
        PlantAgent pump("pump");
        QTest::qWait(PRESENCE_MS);
        const QString uuid = record();
        QVERIFY(!uuid.isEmpty());
        const std::string noise = [] {
            std::string bytes;
            for (int i = 0; i < 20'000; ++i) {
                bytes.push_back(static_cast<char>(i * 7919 >> 5));
            }
            return bytes;
        }();
        bool isStopped = false;
        for (int i = 0; i < 1000 && !isStopped; ++i) {
            pump.publishData("image", noise);
            isStopped = _host->hears("recording_stopped", 5);
        }
        QVERIFY(_host->reply("recording_stopped"));
        QVERIFY2(_recorder->log().contains("ends here"), qPrintable(_recorder->log()));
        const QByteArray csv = exported(uuid);
        QVERIFY(csv.count(";output;image;data;") > 10);
    }
};

QTEST_GUILESS_MAIN(RecorderAgentNetworkTest)
#include "tst_recorder_agent_network.moc"
