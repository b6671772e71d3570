// SPDX-License-Identifier: Apache-2.0
// The whole program without a database: records are CSV files, and the list of them comes unasked.
#include "scriptedhost.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

using namespace recorder;
using namespace recorder::testing;

class RecorderAgentFilesTest : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> _directory;
    std::unique_ptr<RecorderProcess> _recorder;
    std::unique_ptr<ScriptedHost> _host;
    const QString _name = "Tape";

    bool start()
    {
        _recorder = std::make_unique<RecorderProcess>(_name);
        return _recorder->start({ "--data-directory", _directory->path(), "-v" });
    }

    bool call(const char* service, const std::vector<Argument>& arguments = {}, QByteArray token = "host-id")
    {
        return _host->call(_name, service, arguments, std::move(token));
    }

    // The list as it comes unasked after get_context, and with it every later one.
    QJsonArray askForContext()
    {
        call("get_context", {}, "host-id##context");
        return _host->reply("context", "host-id##context") ? nextList() : QJsonArray { "no context" };
    }

    QJsonArray nextList()
    {
        const auto reply = _host->reply("records");
        return reply ? QJsonDocument::fromJson(reply->text(0).toUtf8()).array() : QJsonArray { "no list" };
    }

    // The first list from now on in which the record has this, null for one without the record.
    bool listShows(const QString& uuid, const char* key, const QString& value)
    {
        const int64_t begin = monotonicNs();
        while (monotonicNs() - begin < 10'000'000'000) {
            const QJsonObject record = find(nextList(), uuid);
            if (value.isNull() ? record.isEmpty() : record[QLatin1String(key)].toString() == value) {
                return true;
            }
        }
        return false;
    }

    static QJsonObject find(const QJsonArray& list, const QString& uuid)
    {
        for (const QJsonValue& record : list) {
            if (record["uuid"].toString() == uuid) {
                return record.toObject();
            }
        }
        return {};
    }

    QString record(const char* name)
    {
        call("record", { QByteArray(name), QByteArray(""), QByteArray("") }, "host-id##record");
        const auto reply = _host->reply("record_uuid", "host-id##record");
        return reply ? reply->text(0) : QString();
    }

    bool stopRecording()
    {
        call("stop_recording");
        return _host->reply("recording_stopped").has_value();
    }

    QString makeRecord(int count, const char* name)
    {
        PlantAgent pump("pump");
        QTest::qWait(300); // until the recorder has taken it in
        const QString uuid = record(name);
        for (int i = 1; i <= count; ++i) {
            pump.publish("level", double(i));
            QTest::qWait(5);
        }
        return stopRecording() ? uuid : QString();
    }

    QStringList files() const { return QDir(_directory->path()).entryList({ "*.csv" }, QDir::Files); }

private slots:
    void initTestCase()
    {
        QVERIFY2(TestNetwork::join(), qny_last_error());
        _host = std::make_unique<ScriptedHost>(qny_default_agent());
    }

    void cleanupTestCase()
    {
        _host.reset();
        TestNetwork::leave();
    }

    void init()
    {
        _directory = std::make_unique<QTemporaryDir>();
        QVERIFY(start());
        _host->takeAll();
    }

    void cleanup()
    {
        if (QTest::currentTestFailed()) {
            qInfo().noquote() << _recorder->log();
        }
        if (_recorder->isRunning()) {
            QCOMPARE(_recorder->terminate(), 0);
        }
        _recorder.reset();
        _host->clearArrivals();
    }

    void theListComesAfterTheContextAndAfterEveryChange()
    {
        QCOMPARE(askForContext(), QJsonArray());
        QVERIFY(!_host->hears("records", 600)); // nothing changed
        const QString uuid = record("one");
        QVERIFY(!uuid.isEmpty());
        QVERIFY(listShows(uuid, "name", "one"));
        QVERIFY(!_host->hears("records", 600)); // its growing length is no change
        QVERIFY(stopRecording());
        QJsonObject entry = find(nextList(), uuid);
        QVERIFY(!entry["end_date"].toString().isEmpty());
        QVERIFY(entry["duration_us"].toInteger() > 600'000);
        call("rename", { uuid.toUtf8(), QByteArray("another") });
        QVERIFY(listShows(uuid, "name", "another"));
        call("import", { QByteArray("sheet"), true, QByteArray(""), QByteArray("a;1000;output;o;integer;1\n\n") },
            "host-id##import");
        const auto imported = _host->reply("record_uuid", "host-id##import");
        QVERIFY(imported);
        QVERIFY(listShows(imported->text(0), "name", "sheet"));
        for (const QString& one : { uuid, imported->text(0) }) {
            call("delete", { one.toUtf8() });
            QVERIFY(listShows(one, "name", QString()));
        }
        QVERIFY(files().isEmpty());
        QVERIFY(!_host->hears("records", 600));
    }

    void onlyHostsThatAskedForTheContextAreTold()
    {
        qny_agent_t* first = qny_agent_new("First host", nullptr);
        qny_agent_t* second = qny_agent_new("Second host", nullptr);
        {
            ScriptedHost asks(first);
            ScriptedHost asksNot(second);
            qny_agent_activate(first);
            qny_agent_activate(second);
            QTest::qWait(300);
            asks.call(_name, "get_context", {}, QByteArray("first##context"));
            QVERIFY(asks.reply("context", "first##context"));
            QVERIFY(asks.reply("records", "first"));
            const QString uuid = record("one");
            QVERIFY(asks.reply("records", "first"));
            QVERIFY(stopRecording());
            QVERIFY(asks.reply("records", "first"));
            QVERIFY(!asksNot.hears("records", 300));
            QVERIFY(!_host->hears("records", 0));
            QVERIFY(!uuid.isEmpty());
        }
        qny_agent_destroy(first);
        qny_agent_destroy(second);
    }

    void aFileThatComesOrGoesByHandIsTold()
    {
        QCOMPARE(askForContext(), QJsonArray());
        const QString uuid = "01234567-89ab-cdef-0123-456789abcdef";
        const QString other = _directory->filePath("elsewhere");
        QFile file(other);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(";0;record;name;string;by hand\na;250000;output;o;integer;1\n");
        file.close();
        const QString path = _directory->filePath("by hand " + uuid + ".csv");
        QVERIFY(QFile::rename(other, path));
        QVERIFY(listShows(uuid, "name", "by hand"));
        QVERIFY(QFile::remove(path));
        QVERIFY(listShows(uuid, "name", QString()));
    }

    void aRecordIsAFileFromItsStartAndPlaysAndGoesOutAndComesBack()
    {
        askForContext();
        PlantAgent* pump = new PlantAgent("pump");
        QTest::qWait(300);
        const QString uuid = record("level of the pump");
        QCOMPARE(files().size(), 1);
        QVERIFY(files()[0].endsWith(" level of the pump " + uuid + ".csv"));
        QFile file(_directory->filePath(files()[0]));
        QVERIFY(file.open(QIODevice::ReadOnly));
        pump->publish("level", 0.5);
        QVERIFY(waitUntil([&] { return file.readAll().contains(";output;level;double;0.5\n"); }));
        for (int i = 1; i < 40; ++i) {
            pump->publish("level", double(i));
            QTest::qWait(5);
        }
        QVERIFY(stopRecording());
        delete pump;

        const QByteArray csv = _host->exported(_name, uuid);
        QCOMPARE(csv.count(";output;level;double;"), 40);
        QByteArray doubled = csv;
        doubled.replace("\n", "\n\n");
        call("import", { QByteArray("copy"), true, QByteArray(""), doubled }, "host-id##import");
        const auto imported = _host->reply("record_uuid", "host-id##import");
        QVERIFY(imported && imported->text(0) != uuid);
        QByteArray again = _host->exported(_name, imported->text(0));
        again.replace(";string;copy\n", ";string;level of the pump\n");
        QCOMPARE(again, csv);

        QTest::qWait(300); // until the pump is gone for the recorder too
        _host->listen("pump", "level");
        for (const QString& one : { uuid, imported->text(0) }) {
            call("load", { one.toUtf8(), 0.0, 1e6 });
            QVERIFY(_host->reply("loaded"));
            _host->clearArrivals();
            call("play");
            QVERIFY(_host->reply("replay_ended"));
            const std::vector<Arrival> arrivals = _host->arrivals("pump/level");
            QVERIFY(arrivals.size() >= 40);
            QCOMPARE(arrivals.back().number, 39.0);
            call("unload");
            QVERIFY(_host->reply("unloaded"));
        }
        // A file of the recorder's is a file like any other.
        call("load_file", { file.fileName().toUtf8() });
        QVERIFY(_host->reply("loaded"));
        call("unload");
        QVERIFY(_host->reply("unloaded"));
    }

    void afterAKillTheRecordIsClosedAndSaid()
    {
        PlantAgent pump("pump");
        QTest::qWait(300);
        const QString uuid = record("cut short");
        QFile file(_directory->filePath(files().value(0)));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QByteArray seen;
        QVERIFY(waitUntil([&] {
            pump.publish("level", 1.0);
            seen += file.readAll();
            return seen.count(";output;level;") > 100;
        }));
        _recorder->kill();
        QVERIFY(start());
        QVERIFY2(_recorder->log().contains("was left open by a recorder that ended"), qPrintable(_recorder->log()));
        QVERIFY(_recorder->log().contains(QFileInfo(file).fileName()));
        const QJsonObject entry = find(askForContext(), uuid);
        QVERIFY(!entry["end_date"].toString().isEmpty());
        QVERIFY(_host->exported(_name, uuid).count(";output;level;") >= 100);
    }

    void aFileDeletedDuringItsRecordingEndsIt()
    {
        PlantAgent pump("pump");
        QTest::qWait(300);
        QCOMPARE(askForContext(), QJsonArray());
        const QString uuid = record("to go");
        QVERIFY(QFile::remove(_directory->filePath(files().value(0))));
        pump.publish("level", 1.0);
        QVERIFY(_host->reply("recording_stopped"));
        QVERIFY(listShows(uuid, "name", QString()));
        QVERIFY2(_recorder->log().contains("was deleted"), qPrintable(_recorder->log()));
        QVERIFY(!makeRecord(3, "the next").isEmpty());
        QCOMPARE(files().size(), 1);
    }
};

QTEST_GUILESS_MAIN(RecorderAgentFilesTest)
#include "tst_recorder_agent_files.moc"
