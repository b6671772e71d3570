// SPDX-License-Identifier: Apache-2.0
// The whole program on a secured network: who reaches it, whom it obeys, and what it writes down of that.
#include "scriptedhost.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace recorder;
using namespace recorder::testing;

class RecorderAgentSecurityTest : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> _directory;
    std::unique_ptr<RecorderProcess> _recorder;
    std::unique_ptr<ScriptedHost> _host;

    QString path(const QString& name) const { return _directory->filePath(name); }

    void make(const char* name)
    {
        QVERIFY2(qny_certificate_make(path("own").toUtf8().constData(), name, nullptr, nullptr) == QNY_SUCCESS,
            qny_last_error());
        allow(name, "known");
    }
    void allow(const QString& name, const QString& directory)
    {
        QVERIFY(QFile::copy(path("own/" + name + ".cert"), path(directory + "/." + name)));
        QVERIFY(QFile::rename(path(directory + "/." + name), path(directory + "/" + name + ".cert")));
    }

    /// This process comes back to the network with another certificate; with none when the name is empty.
    void join(const QString& certificate)
    {
        qny_stop();
        const QByteArray own
            = certificate.isEmpty() ? QByteArray() : path("own/" + certificate + ".cert_secret").toUtf8();
        const QByteArray known = certificate.isEmpty() ? QByteArray() : path("known").toUtf8();
        qny_options_t options;
        qny_options_init(&options);
        options.device = "lo";
        options.port = TestNetwork::port();
        options.private_certificate = own.constData();
        options.public_certificates = known.constData();
        qny_name_set("Test host");
        QVERIFY2(qny_start(&options) == QNY_SUCCESS, qny_last_error());
        QCOMPARE(qny_is_secured(), !certificate.isEmpty());
        if (_recorder && !certificate.isEmpty()) {
            QVERIFY(waitUntil([&] { return qny_agent_is_present(_recorder->name().toUtf8().constData()); }));
        }
    }

    bool start(const QStringList& options)
    {
        _recorder = std::make_unique<RecorderProcess>("Tape");
        return _recorder->start(
            options + QStringList { "-c", "embedded:9042", "--data-directory", path("store"), "-v" });
    }
    QStringList secured() const
    {
        return { "--qnyCert", path("own/recorder.cert_secret"), "--publicCerts", path("known") };
    }

    bool call(const char* service, const std::vector<Argument>& arguments = {})
    {
        return _host->call(_recorder->name(), service, arguments);
    }

    QList<QJsonObject> audit(const QString& name = QStringLiteral("audit-Tape.log")) const
    {
        QFile file(path("store/" + name));
        QList<QJsonObject> entries;
        if (file.open(QIODevice::ReadOnly)) {
            for (const QByteArray& line : file.readAll().trimmed().split('\n')) {
                entries.append(QJsonDocument::fromJson(line).object());
            }
        }
        return entries;
    }
    QStringList auditedCommands() const
    {
        QStringList commands;
        for (const QJsonObject& entry : audit()) {
            commands.append(entry["certificate"].toString() + ' ' + entry["command"].toString());
        }
        return commands;
    }
    bool logs(const QString& text)
    {
        return waitUntil([&] { return _recorder->log().contains(text); });
    }

private slots:
    void init()
    {
        _directory = std::make_unique<QTemporaryDir>();
        QVERIFY(_directory->isValid());
        for (const char* each : { "own", "known", "operators", "store" }) {
            QVERIFY(QDir(_directory->path()).mkdir(each));
        }
        for (const char* each : { "recorder", "operator", "visitor" }) {
            make(each);
        }
        allow("operator", "operators");
        _host = std::make_unique<ScriptedHost>(qny_default_agent());
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
        _host.reset();
        qny_stop();
    }

    void aSecuredRecorderIsReachedByThoseItKnowsAlone()
    {
        join("operator");
        QVERIFY(start(secured()));
        call("get_context");
        QVERIFY(_host->reply("context"));
        QVERIFY(logs("The network is secured"));

        join("");
        QVERIFY(logs("is not secured and this process is: they do not meet"));
        QVERIFY(!call("get_context"));

        // A certificate that is taken away, and one that comes back.
        join("visitor");
        QVERIFY(QFile::remove(path("known/visitor.cert")));
        QVERIFY(waitUntil([&] { return !qny_agent_is_present("Tape"); }, 2000));
        allow("visitor", "known");
        QVERIFY(waitUntil([&] { return qny_agent_is_present("Tape"); }));
    }

    void aRecorderThatASecuredProcessStartsIsSecured()
    {
        join("operator");
        qputenv("QNY_PRIVATE_CERTIFICATE", path("own/operator.cert_secret").toUtf8());
        qputenv("QNY_PUBLIC_CERTIFICATES", path("known").toUtf8());
        const bool started = start({});
        qunsetenv("QNY_PRIVATE_CERTIFICATE");
        qunsetenv("QNY_PUBLIC_CERTIFICATES");
        QVERIFY(started);
        QVERIFY(logs("The network is secured"));
    }

    void whatWaitsWhenACertificateIsTakenAwayIsNotCarriedOut()
    {
        join("visitor");
        QVERIFY(start(secured()));
        // Each writes a file: they wait for a minute.
        constexpr int CALLS = 20'000;
        for (int i = 1; i <= CALLS; ++i) {
            call("set_record_filters", { "-filter" + QByteArray::number(i) });
        }
        QVERIFY(_host->reply("record_filters"));
        QVERIFY(QFile::remove(path("known/visitor.cert")));
        QVERIFY(waitUntil([&] { return !qny_agent_is_present("Tape"); }, 2000));

        join("operator");
        call("get_record_filters");
        QVERIFY(logs("called and was not carried out yet is dropped: its certificate visitor is not let in any more"));
        QVERIFY2(logs("Called get_record_filters"), "the operator's turn");
    }

    void onlyOperatorsAreObeyedAndEverybodyIsAnswered()
    {
        join("operator");
        QVERIFY(start(secured() + QStringList { "--operators", path("operators") }));
        QVERIFY(call("set_record_filters", { QByteArray("-nobody") }));
        QVERIFY(_host->reply("record_filters"));
        QVERIFY(call("record", { QByteArray("take"), QByteArray(""), QByteArray("") }));
        const auto recording = _host->reply("record_uuid");
        QVERIFY(recording);
        const QByteArray uuid = recording->text(0).toUtf8();
        _host->takeAll();

        join("visitor");
        // What only asks is answered as ever.
        call("get_context");
        const auto context = _host->reply("context");
        QVERIFY(context);
        QCOMPARE(context->arguments.size(), 9U);
        call("get_records", { QByteArray("") });
        QVERIFY(_host->reply("records"));
        call("get_record_filters");
        QCOMPARE(_host->reply("record_filters")->text(1), QString("-nobody"));

        const QByteArray rows("\"\";0;record;version;;1\n");
        const struct
        {
            const char* service;
            std::vector<Argument> arguments;
            const char* answer; ///< null: this service is never answered
        } table[] {
            { "record", { QByteArray("x"), QByteArray(""), QByteArray("") }, "recording_stopped" },
            { "stop_recording", {}, "recording_stopped" },
            { "pause_record", {}, nullptr },
            { "resume_record", {}, nullptr },
            { "set_record_filters", { QByteArray("Plant") }, "record_filters" },
            { "load", { uuid, 0.0, 1.0 }, "loading_failed" },
            { "load_file", { QByteArray("/x.csv"), 0.0, 1.0 }, "loading_failed" },
            { "unload", {}, "unloaded" },
            { "rename", { uuid, QByteArray("stolen") }, nullptr },
            { "delete", { uuid }, nullptr },
            { "play", {}, "paused" },
            { "pause", {}, "paused" },
            { "move_to", { 1.0 }, "moved_to" },
            { "filter_replaying_agents", { QByteArray("[]") }, "filter_applied" },
            { "speed", { 2.0 }, nullptr },
            { "export", { uuid, 0, QByteArray(""), -1, true, false }, "receive_export" },
            { "import", { QByteArray("x"), true, QByteArray(""), rows }, "record_uuid" },
            { "append", { uuid, rows }, "record_uuid" },
        };
        for (const auto& row : table) {
            QVERIFY2(call(row.service, row.arguments), row.service);
            if (row.answer) {
                const auto answer = _host->reply(row.answer);
                QVERIFY2(answer, row.service);
                if (qstrcmp(row.answer, "loading_failed") == 0) {
                    QVERIFY2(answer->text(1).contains("operators"), qPrintable(answer->text(1)));
                } else if (qstrcmp(row.answer, "receive_export") == 0) {
                    QCOMPARE(answer->text(0), QString());
                    QCOMPARE(answer->text(3), QString());
                }
            }
            QVERIFY2(logs(QStringLiteral("Call of '%1' by Test host refused: the certificate visitor is none of the "
                                         "operators'")
                             .arg(QLatin1String(row.service))),
                row.service);
        }
        // Nothing came of it.
        _host->takeAll();
        call("get_context");
        QCOMPARE(_host->reply("context")->text(8), QString::fromUtf8(uuid));
        call("get_record_filters");
        QCOMPARE(_host->reply("record_filters")->text(1), QString("-nobody"));
        QVERIFY(qny_request_stop(_recorderUuid().constData()) == QNY_SUCCESS);
        QVERIFY(logs("Not stopped for Test host: the certificate visitor is none of the operators'"));

        join("operator");
        QVERIFY(call("stop_recording"));
        QVERIFY(_host->reply("recording_stopped"));
        call("export", { uuid, 0, QByteArray(""), -1, true, false });
        const auto exported = _host->reply("receive_export");
        QVERIFY(exported);
        QVERIFY(exported->text(3).contains("take"));
        // The same download once more is another one.
        call("export", { uuid, 0, QByteArray(""), -1, true, false });
        QVERIFY(_host->reply("receive_export"));
        // Who keeps the logs may move one away.
        const QStringList before = auditedCommands();
        QVERIFY(QFile::rename(path("store/audit-Tape.log"), path("store/kept.log")));
        QVERIFY(call("delete", { uuid }));
        QVERIFY(waitUntil([&] { return auditedCommands().contains("operator delete"); }));
        QVERIFY(qny_request_stop(_recorderUuid().constData()) == QNY_SUCCESS);
        QCOMPARE(_recorder->waitForEnd(), 0);

        // The operator's commands stand there, and nobody else's.
        QCOMPARE(before + auditedCommands(),
            QStringList({ "operator set_record_filters", "operator record", "operator stop_recording",
                "operator export", "operator export", "operator delete", "operator stop the recorder" }));
        QCOMPARE(audit().at(0)["arguments"].toArray().first().toString(), QString::fromUtf8(uuid));
        const QJsonObject started = audit("kept.log").at(1);
        QCOMPARE(started["arguments"].toArray().first().toString(), QString("take"));
        QCOMPARE(started["agent"].toString(), QString("Test host"));
        QCOMPARE(started["key"].toString().size(), 40);
        QVERIFY(QDateTime::fromString(started["time"].toString(), Qt::ISODateWithMs).isValid());
        for (const char* const file : { "store/audit-Tape.log", "store/kept.log" }) {
            QCOMPARE(QFile::permissions(path(file)) & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
        }
    }

    void anImportGoesOnWhateverOthersAppendToIt()
    {
        const auto rows = [](int second) {
            return "sheet;" + QByteArray::number(second * 1'000'000) + ";output;level;double;1\n\n";
        };
        join("operator");
        QVERIFY(start(secured() + QStringList { "--operators", path("operators") }));
        QVERIFY(call("import", { QByteArray("sheet"), true, QByteArray(""), rows(1) }));
        const QByteArray uuid = _host->reply("record_uuid")->text(0).toUtf8();

        // Whoever is let in sees which records there are.
        join("visitor");
        call("get_records", { QByteArray("") });
        QVERIFY(_host->reply("records")->text(0).contains(QString::fromUtf8(uuid)));
        for (const std::vector<Argument>& arguments :
            { std::vector<Argument> { uuid, rows(9) }, std::vector<Argument> { uuid } }) {
            QVERIFY(call("append", arguments));
            QCOMPARE(_host->reply("record_uuid")->text(0), QString());
            QCOMPARE(_host->reply("record_uuid")->text(0), QString::fromUtf8(uuid));
        }

        join("operator");
        QVERIFY(call("append", { uuid, rows(2) }));
        QCOMPARE(_host->reply("record_uuid")->text(0), QString::fromUtf8(uuid));
        QVERIFY(_host->exported(_recorder->name(), QString::fromUtf8(uuid)).contains("sheet;2000000;"));
    }

    void whoGoesOnWithAnothersTransferIsWrittenDown()
    {
        allow("visitor", "operators");
        join("operator");
        QVERIFY(start(secured() + QStringList { "--operators", path("operators") }));
        const auto goOn = [&] {
            QVERIFY(call("append", { QByteArray("record"), QByteArray("rows") }));
            QVERIFY(_host->reply("record_uuid"));
            QVERIFY(call("export", { QByteArray("record"), 0, QByteArray(""), -1, false, false }));
            QVERIFY(_host->reply("receive_export"));
        };
        goOn();
        goOn();
        // The same agent, by another's key.
        join("visitor");
        goOn();
        QCOMPARE(auditedCommands(),
            QStringList({ "operator append", "operator export", "visitor append", "visitor export" }));
    }

    void nothingIsKeptOfLongCallsThatAreRefused()
    {
        const auto megabytes = [this] {
            QFile statm(QStringLiteral("/proc/%1/statm").arg(_recorder->processId()));
            return statm.open(QIODevice::ReadOnly)
                ? statm.readAll().split(' ').value(1).toLongLong() * sysconf(_SC_PAGESIZE) / 1'000'000
                : -1;
        };
        join("visitor");
        for (const QStringList& who : { QStringList(), QStringList { "--operators", path("operators") } }) {
            QVERIFY(start(secured() + who));
            QVERIFY(waitUntil([&] { return qny_agent_is_present("Tape"); }));
            const qint64 before = megabytes();
            QVERIFY(before > 0);
            for (char i = 0; i < 6; ++i) {
                QVERIFY(call("append", { QByteArray(32'000'000, static_cast<char>('a' + i)) }));
                QVERIFY(_host->reply("record_uuid"));
            }
            QVERIFY2(waitUntil([&] { return megabytes() < before + 200; }),
                qPrintable(QStringLiteral("%1 MB, and %2 before").arg(megabytes()).arg(before)));
            QCOMPARE(_recorder->terminate(), 0);
            QVERIFY(waitUntil([&] { return !qny_agent_is_present("Tape"); }));
        }
    }

    void whatSomebodyPutInTheAuditLogsPlaceIsNotWrittenInto()
    {
        QFile own(path("letter"));
        QVERIFY(own.open(QIODevice::WriteOnly));
        own.close();
        const auto mode = QFile::permissions(path("letter"));
        const QByteArray log = path("store/audit-Tape.log").toUtf8();
        const auto refusal = [this] {
            QProcess recorder;
            recorder.setProcessChannelMode(QProcess::MergedChannels);
            recorder.start(RecorderProcess::executable(),
                secured()
                    + QStringList { "--operators", path("operators"), "-n", "Tape", "-c", "embedded:9042",
                        "--data-directory", path("store"), "--device", "lo", "--port",
                        QString::number(TestNetwork::port()) });
            const bool ended = recorder.waitForFinished(5000);
            return ended && recorder.exitCode() == 1 ? QString::fromUtf8(recorder.readAll()) : QString();
        };
        QVERIFY(QFile::link(path("letter"), QString::fromUtf8(log)));
        QVERIFY(refusal().contains("cannot be written: it is a link"));
        QCOMPARE(QFile::permissions(path("letter")), mode);
        QVERIFY(QFile::remove(QString::fromUtf8(log)));
        // Somebody reads there.
        QCOMPARE(mkfifo(log.constData(), 0666), 0);
        const int reader = open(log.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        QVERIFY(reader >= 0);
        QVERIFY(refusal().contains("cannot be written: it is no file of this user's own"));
        close(reader);
    }

    void aCallThatIsRefusedForItsArgumentsIsNoCommandThatWasObeyed()
    {
        join("operator");
        QVERIFY(start(secured() + QStringList { "--operators", path("operators") }));
        QVERIFY(call("load", { QByteArray("no times") }));
        QVERIFY(_host->reply("loading_failed"));
        QVERIFY(call("move_to", { QByteArray("no number") }));
        QVERIFY(_host->reply("moved_to"));
        // A download that began with what cannot be read is written down when it begins.
        QVERIFY(call("export", { QByteArray("record") }));
        QVERIFY(_host->reply("receive_export"));
        QVERIFY(call("export", { QByteArray("record"), 0, QByteArray(""), -1, false, false }));
        QVERIFY(_host->reply("receive_export"));
        QCOMPARE(auditedCommands(), QStringList { "operator export" });
        QCOMPARE(audit().at(0)["arguments"].toArray().size(), 6);
    }

    void aTextFromElsewhereControlsNoTerminalAndMakesNoLineOfTheLogOrTheAudit()
    {
        join("operator");
        QVERIFY(start(secured() + QStringList { "--operators", path("operators") }));
        const QByteArray text("no \x1b[31mrecord\r\n2026-01-01 00:00:00.000 info: forged \xc2\x9b"
                              "2J \xe2\x80\xae");
        QVERIFY(call("rename", { text, QByteArray("name") }));
        QVERIFY(logs("Cannot rename"));
        QVERIFY(logs("no ?[31mrecord?\n    2026-01-01 00:00:00.000 info: forged ?2J ?"));
        QVERIFY(waitUntil([&] { return auditedCommands() == QStringList { "operator rename" }; }));
        QFile file(path("store/audit-Tape.log"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray line = file.readAll();
        for (const char* const harmful : { "\x1b", "\r", "\xc2\x9b", "\xe2\x80\xae" }) {
            QVERIFY(!line.contains(harmful));
        }
        QCOMPARE(audit().at(0)["arguments"].toArray().first().toString(), QString::fromUtf8(text));
    }

    void whatIsNoFileHoldsNobodyUp()
    {
        join("operator");
        QVERIFY(start(secured()));
        const QByteArray pipe = path("pipe").toUtf8();
        QCOMPARE(mkfifo(pipe.constData(), 0600), 0);
        for (const QByteArray& each : { pipe, QByteArray("/dev/zero"), path("store").toUtf8(), pipe }) {
            QVERIFY(call("load_file", { each }));
            const auto reply = _host->reply("loading_failed");
            QVERIFY2(reply, each.constData());
            QVERIFY2(reply->text(1).contains("no regular file"), qPrintable(reply->text(1)));
        }
        call("get_context");
        QVERIFY(_host->reply("context"));
    }

    void aPasswordStandsNeitherInTheListOfProcessesNorOnTheNetwork()
    {
        join("");
        QVERIFY(start({ "-u", "me", "-va", "a-hidden-word", "--keyspace", "shown" }));
        QFile arguments(QStringLiteral("/proc/%1/cmdline").arg(_recorder->processId()));
        QVERIFY(arguments.open(QIODevice::ReadOnly));
        const QByteArray inList = arguments.readAll();
        QVERIFY(inList.contains("shown"));
        QVERIFY(!inList.contains("a-hidden-word"));
        const QByteArray onNetwork = _seen([](const qny_agent_info_t* agent) {
            QByteArray all;
            for (size_t i = 0; i < agent->arguments_count; ++i) {
                all += QByteArray(agent->arguments[i]) + ' ';
            }
            return all;
        });
        QVERIFY(onNetwork.contains("shown"));
        QVERIFY(!onNetwork.contains("a-hidden-word"));
    }

    void aLogThatNobodyReadsHoldsNobodyUp()
    {
        join("");
        // A pipe with a reader that does not read, and little room.
        const QByteArray pipe = path("pipe").toUtf8();
        QCOMPARE(mkfifo(pipe.constData(), 0600), 0);
        const int reader = open(pipe.constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        QVERIFY(reader >= 0);
        QVERIFY(fcntl(reader, F_SETPIPE_SZ, 4096) >= 0);
        QProcess unread;
        unread.setStandardErrorFile(QString::fromUtf8(pipe));
        unread.start(RecorderProcess::executable(),
            { "-v", "-n", "Tape", "-c", "embedded:9042", "--data-directory", path("store"), "--device", "lo", "--port",
                QString::number(TestNetwork::port()) });
        QVERIFY(waitUntil([] { return qny_agent_is_present("Tape"); }));
        for (int i = 0; i < 500; ++i) {
            _host->call("Tape", "get_record_filters", {});
        }
        for (int i = 0; i < 500; ++i) {
            QVERIFY2(_host->reply("record_filters"), qPrintable(QString::number(i)));
        }
        // Who reads again learns that lines are missing.
        QByteArray log;
        const auto readAll = [&] {
            char buffer[4096];
            for (ssize_t count = 0; (count = read(reader, buffer, sizeof buffer)) > 0;) {
                log.append(buffer, count);
            }
            return log;
        };
        readAll();
        _host->call("Tape", "get_record_filters", {});
        QVERIFY(_host->reply("record_filters"));
        QVERIFY(waitUntil([&] { return readAll().contains(" lines found no room here)"); }));
        close(reader);
        unread.terminate();
        QVERIFY(unread.waitForFinished());
    }

    void whoIsAnOperatorMayChangeWhileTheRecorderRuns()
    {
        join("visitor");
        QVERIFY(start(secured() + QStringList { "--operators", path("operators") }));
        int number = 0;
        const auto isObeyed = [&] {
            const QString wanted = QStringLiteral("-filter%1").arg(++number);
            call("set_record_filters", { wanted.toUtf8() });
            const auto reply = _host->reply("record_filters");
            return reply && reply->text(1) == wanted;
        };
        QVERIFY(!isObeyed());
        allow("visitor", "operators");
        QVERIFY(waitUntil(isObeyed, 2000));
        QVERIFY(QFile::remove(path("operators/visitor.cert")));
        QVERIFY(waitUntil([&] { return !isObeyed(); }, 2000));
    }

private:
    /// Of the recorder, what the function takes of what the network says of it.
    static QByteArray _seen(QByteArray (*take)(const qny_agent_info_t*))
    {
        struct Seen
        {
            QByteArray (*take)(const qny_agent_info_t*);
            std::mutex mutex;
            QByteArray text;
        } seen { take, {}, {} };
        const auto look = [](qny_agent_event_t, const qny_agent_info_t* agent, void* data) {
            auto* into = static_cast<Seen*>(data);
            const std::lock_guard lock(into->mutex);
            into->text = into->take(agent);
        };
        qny_observe_agents(look, &seen);
        waitUntil([&] {
            const std::lock_guard lock(seen.mutex);
            return !seen.text.isEmpty();
        });
        qny_unobserve_agents(look, &seen);
        return seen.text;
    }
    static QByteArray _recorderUuid()
    {
        return _seen([](const qny_agent_info_t* agent) { return QByteArray(agent->uuid); });
    }
};

QTEST_GUILESS_MAIN(RecorderAgentSecurityTest)
#include "tst_recorder_agent_security.moc"
