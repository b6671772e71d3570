// SPDX-License-Identifier: Apache-2.0
// The whole program on a network of the test's own: a scripted host calls every service and looks at every answer.
#include "scriptedhost.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

using namespace recorder;
using namespace recorder::testing;

namespace {

/// `count` rows of a record CSV file, one event a millisecond.
QByteArray csvRows(int count, const char* agent = "sheet")
{
    QByteArray rows;
    for (int i = 0; i < count; ++i) {
        rows += QByteArray(agent) + ';' + QByteArray::number(qint64(i) * 1000) + ";output;level;double;"
            + QByteArray::number(i) + '\n';
    }
    return rows;
}

QStringList namesOf(const QString& json)
{
    QStringList names;
    for (const QJsonValue& value : QJsonDocument::fromJson(json.toUtf8()).array()) {
        names.append(value.toString());
    }
    return names;
}

} // namespace

class RecorderAgentTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir _directory;
    std::unique_ptr<RecorderProcess> _recorder;
    std::unique_ptr<ScriptedHost> _host;
    const QString _name = "Tape";

    QStringList storeOptions() const { return { "-c", "embedded:9042", "--data-directory", _directory.path(), "-v" }; }

    bool call(const char* service, const std::vector<Argument>& arguments = {},
        std::optional<QByteArray> token = QByteArray("host-id"))
    {
        return _host->call(_name, service, arguments, std::move(token));
    }

    QJsonArray records(const char* namePart = "")
    {
        call("get_records", { QByteArray(namePart) });
        const auto reply = _host->reply("records");
        return reply ? QJsonDocument::fromJson(reply->text(0).toUtf8()).array() : QJsonArray { "no answer" };
    }

    QJsonObject recordOf(const QString& uuid)
    {
        for (const QJsonValue& record : records()) {
            if (record["uuid"].toString() == uuid) {
                return record.toObject();
            }
        }
        return {};
    }

    /// Starts a recording and returns its uuid, or an empty text.
    QString record(const char* name = "take", const char* filters = "")
    {
        call("record", { QByteArray(name), QByteArray(""), QByteArray(filters) }, QByteArray("host-id##record"));
        const auto reply = _host->reply("record_uuid", "host-id##record");
        return reply ? reply->text(0) : QString();
    }

    bool stopRecording()
    {
        call("stop_recording");
        return _host->reply("recording_stopped").has_value();
    }

    /// A record of one agent, "pump", whose level counts from 1 to `count`, one every `intervalMs`.
    QString makeRecord(int count, int intervalMs, const char* name = "take")
    {
        PlantAgent pump("pump");
        if (!waitUntil([&] { return isSeen("pump"); })) {
            return {};
        }
        const QString uuid = record(name);
        for (int i = 1; i <= count; ++i) {
            pump.publish("level", double(i));
            QTest::qSleep(intervalMs);
        }
        return stopRecording() ? uuid : QString();
    }

    /// Whether the recorder knows of the agent: it says nothing of others, so ask in the way that a replay does.
    bool isSeen(const char*)
    {
        // Presence is announced to both sides at once; a moment later the recorder has taken it in.
        QTest::qSleep(300);
        return true;
    }

    bool load(const QString& uuid, double start = 0.0, double duration = 1e6)
    {
        call("load", { uuid.toUtf8(), start, duration });
        const auto reply = _host->reply("loaded");
        return reply && reply->text(0) == uuid;
    }

    void startRecorder(const QStringList& options)
    {
        _recorder = std::make_unique<RecorderProcess>(_name);
        QVERIFY2(_recorder->start(options), qPrintable(_recorder->log()));
    }

private slots:
    void initTestCase()
    {
        QVERIFY(_directory.isValid());
        QVERIFY2(TestNetwork::join(), qny_last_error());
        _host = std::make_unique<ScriptedHost>(qny_default_agent());
        startRecorder(storeOptions());
        _host->listen(_name.toStdString(), "record_progress");
        _host->listen(_name.toStdString(), "replay_progress");
    }

    void cleanupTestCase()
    {
        QCOMPARE(_recorder->terminate(), 0);
        _host.reset();
        TestNetwork::leave();
    }

    void init()
    {
        call("stop_recording");
        _host->reply("recording_stopped");
        call("unload");
        _host->reply("unloaded");
        _host->takeAll();
        _host->clearArrivals();
    }

    void cleanup()
    {
        if (QTest::currentTestFailed() && _recorder) {
            qInfo().noquote() << _recorder->log();
        }
    }

    // ---- recording

    void aRecordingIsAnsweredListedAndHasItsLength()
    {
        const QString uuid = makeRecord(5, 40, "first take");
        QVERIFY(!uuid.isEmpty());
        const QJsonObject entry = recordOf(uuid);
        QCOMPARE(entry["name"].toString(), "first take");
        const auto start = QDateTime::fromString(entry["start_date"].toString(), "yyyy-MM-dd HH:mm:ss.zzz");
        const auto end = QDateTime::fromString(entry["end_date"].toString(), "yyyy-MM-dd HH:mm:ss.zzz");
        QVERIFY(start.isValid() && end.isValid());
        const double durationUs = entry["duration_us"].toDouble();
        QVERIFY(durationUs > 150'000 && durationUs < 3'000'000);
        QVERIFY(std::abs(double(start.msecsTo(end)) - durationUs / 1000) < 2.0);
        // By part of the name, in any case.
        QCOMPARE(records("ST TAK").size(), 1);
        QCOMPARE(records("no such name").size(), 0);
    }

    void recordProgressRisesWhileRecordingRepeatsInAPauseAndEndsBeforeTheAnswer()
    {
        const std::string progress = _name.toStdString() + "/record_progress";
        QVERIFY(!record().isEmpty());
        QVERIFY(waitUntil([&] { return _host->arrivals(progress).size() >= 5; }));
        // Nothing twice, and at least five a second.
        auto running = _host->arrivals(progress);
        for (size_t i = 1; i < running.size(); ++i) {
            QVERIFY(running[i].number > running[i - 1].number);
            QVERIFY(running[i].atNs - running[i - 1].atNs < 300'000'000);
        }
        call("pause_record", {}, std::nullopt);
        QVERIFY(waitUntil([&] {
            const auto now = _host->arrivals(progress);
            return now.size() > 3 && now[now.size() - 1].number == now[now.size() - 3].number;
        }));
        const double pausedAt = _host->arrivals(progress).back().number;
        call("resume_record", {}, std::nullopt);
        QVERIFY(waitUntil([&] { return _host->arrivals(progress).back().number > pausedAt; }));
        call("stop_recording");
        const auto stopped = _host->reply("recording_stopped");
        QVERIFY(stopped);
        QVERIFY(stopped->arguments.empty());
        QTest::qWait(300);
        QVERIFY(_host->arrivals(progress).back().atNs <= stopped->atNs);
        QVERIFY(_host->arrivals(progress).back().number >= pausedAt);
    }

    void whoAsksForTheRecordsSeesAPauseAnew()
    {
        const std::string progress = _name.toStdString() + "/record_progress";
        QVERIFY(!record().isEmpty());
        const auto lengths = [&] {
            QList<double> all;
            for (const auto& each : _host->arrivals(progress)) {
                all.append(each.number);
            }
            return all;
        };
        QVERIFY(waitUntil([&] { return lengths().size() >= 3; }));
        call("pause_record", {}, std::nullopt);
        QVERIFY(
            waitUntil([&] { return lengths().size() > 3 && lengths().last() == lengths().at(lengths().size() - 3); }));
        const double pausedAt = lengths().last();
        const qsizetype before = lengths().size();
        // Another length, by a microsecond, and at once the same as before.
        (void)records();
        QVERIFY(waitUntil([&] { return lengths().size() >= before + 10; }));
        QList<double> since = lengths().mid(before);
        const auto other = std::ranges::find_if(since, [pausedAt](double each) { return each != pausedAt; });
        QVERIFY(other != since.end());
        QVERIFY(!qFuzzyCompare(*other, pausedAt) && std::abs(*other - pausedAt) < 2e-6);
        QVERIFY(since.end() - other > 2);
        QVERIFY(std::all_of(other + 1, since.end(), [pausedAt](double each) { return each == pausedAt; }));
        // While it records nothing comes twice all the same.
        call("resume_record", {}, std::nullopt);
        QVERIFY(waitUntil([&] { return lengths().last() > pausedAt + 0.1; }));
        const qsizetype resumed = lengths().size();
        (void)records();
        QVERIFY(waitUntil([&] { return lengths().size() > resumed + 5; }));
        since = lengths().mid(resumed);
        QVERIFY(std::ranges::adjacent_find(since, std::greater_equal<>()) == since.end());
        call("stop_recording");
        QVERIFY(_host->reply("recording_stopped"));
    }

    void theLastProgressIsTheLengthOfTheRecord()
    {
        const QString uuid = makeRecord(3, 50);
        const auto arrivals = _host->arrivals(_name.toStdString() + "/record_progress");
        QVERIFY(!arrivals.empty());
        QCOMPARE(std::llround(arrivals.back().number * 1e6), std::llround(recordOf(uuid)["duration_us"].toDouble()));
    }

    void recordWhileRecordingAnswersTheRunningRecord()
    {
        const QString first = record("one");
        QCOMPARE(record("two"), first);
        QVERIFY(stopRecording());
        QCOMPARE(recordOf(first)["name"].toString(), "one");
        QVERIFY(records("two").isEmpty());
    }

    void filtersThatDoNotParseStopARecordingFromStarting()
    {
        call("record", { QByteArray("x"), QByteArray(""), QByteArray("a/b/c") }, QByteArray("host-id##record"));
        QVERIFY(_host->reply("recording_stopped", "host-id"));
        QVERIFY(!_host->hears("record_uuid", 200));
    }

    void theContextNamesTheRecordBeingMade()
    {
        const QString uuid = record();
        call("get_context");
        const auto context = _host->reply("context");
        QVERIFY(context);
        QCOMPARE(context->arguments.size(), size_t(9));
        QCOMPARE(context->text(0), QString());
        QCOMPARE(context->text(8), uuid);
        QVERIFY(stopRecording());
    }

    // ---- filters

    void recordFiltersAreKeptAndBadOnesChangeNothing()
    {
        call("get_record_filters");
        auto filters = _host->reply("record_filters");
        QVERIFY(filters);
        QCOMPARE(filters->boolean(0), false);
        QCOMPARE(filters->text(1), QString());
        call("set_record_filters", { QByteArray("a/b/c") });
        filters = _host->reply("record_filters");
        QCOMPARE(filters->boolean(0), true);
        QCOMPARE(filters->text(1), QString());
        call("set_record_filters", { QByteArray("-noise\n") });
        filters = _host->reply("record_filters");
        QCOMPARE(filters->boolean(0), true);
        QCOMPARE(filters->text(1), "-noise\n");
        call("set_record_filters", { QByteArray("a/b/c") });
        QCOMPARE(_host->reply("record_filters")->text(1), "-noise\n");
        call("get_record_filters");
        filters = _host->reply("record_filters");
        QCOMPARE(filters->boolean(0), true);
        QCOMPARE(filters->text(1), "-noise\n");
        call("set_record_filters", { QByteArray("") });
        QCOMPARE(_host->reply("record_filters")->text(1), QString());
    }

    void aRecordingsOwnFiltersHoldForItAlone()
    {
        QString uuid;
        {
            PlantAgent pump("pump");
            PlantAgent valve("valve");
            isSeen("valve");
            uuid = record("filtered", "pump/level");
            pump.publish("level", 1.0);
            pump.publish("count", int32_t(5));
            valve.publish("open", true);
            QTest::qWait(100);
            QVERIFY(stopRecording());
        }
        isSeen("nobody");
        call("load", { uuid.toUtf8(), 0.0, 100.0 });
        const auto loaded = _host->reply("loaded");
        QVERIFY(loaded);
        QCOMPARE(namesOf(loaded->text(3)), QStringList { "pump" });
    }

    // ---- replay

    void aReplayGivesBackWhatWasRecordedAtItsTimesFaster()
    {
        constexpr int COUNT = 20;
        constexpr int INTERVAL_MS = 50;
        const QString uuid = makeRecord(COUNT, INTERVAL_MS);
        isSeen("nobody");
        call("load", { uuid.toUtf8(), 0.0, 1e9 });
        QVERIFY(_host->reply("loading"));
        const auto loaded = _host->reply("loaded");
        QVERIFY(loaded);
        QCOMPARE(loaded->text(0), uuid);
        QVERIFY(QDateTime::fromString(loaded->text(1), Qt::ISODateWithMs).isValid());
        QCOMPARE(std::llround(loaded->number(2) * 1e6), std::llround(recordOf(uuid)["duration_us"].toDouble()));
        QCOMPARE(namesOf(loaded->text(3)), QStringList { "pump" });

        _host->listen("pump", "level");
        call("speed", { 4.0 });
        call("play");
        QVERIFY(_host->reply("replay_ended"));
        std::vector<Arrival> levels;
        for (const Arrival& arrival : _host->arrivals("pump/level")) {
            QVERIFY(arrival.isStandIn);
            if (!arrival.isLastValue) {
                levels.push_back(arrival);
            }
        }
        // The first is the value at the start.
        QCOMPARE(levels.size(), size_t(COUNT + 1));
        for (int i = 0; i <= COUNT; ++i) {
            QCOMPARE(levels[size_t(i)].number, double(i));
        }
        const double seconds = double(levels[COUNT].atNs - levels[1].atNs) / 1e9;
        const double wanted = (COUNT - 1) * INTERVAL_MS / 1000.0 / 4.0;
        QVERIFY2(seconds > 0.9 * wanted && seconds < 1.5 * wanted, qPrintable(QString::number(seconds)));
        QVERIFY(!_host->hears("paused", 100));
    }

    void everyKindOfValueComesBackAsItWas()
    {
        QString uuid;
        const std::string text = "ünïcode; \"quoted\"\nline";
        const std::string image("\0\1\2;\"\xff", 6);
        {
            PlantAgent pump("pump");
            isSeen("pump");
            uuid = record();
            pump.publish("count", int32_t(-7));
            pump.publish("open", true);
            pump.publish("text", text);
            pump.publishData("image", image);
            pump.publishImpulse("kick");
            pump.publish("level", 1e-300);
            QTest::qWait(50);
            QVERIFY(stopRecording());
        }
        isSeen("nobody");
        QVERIFY(load(uuid));
        for (const char* output : { "count", "open", "text", "image", "kick", "level" }) {
            _host->listen("pump", output);
        }
        QTest::qWait(100);
        _host->clearArrivals();
        call("play");
        QVERIFY(_host->reply("replay_ended"));
        QCOMPARE(_host->arrivals("pump/count").back().number, -7.0);
        QCOMPARE(_host->arrivals("pump/open").back().number, 1.0);
        QCOMPARE(_host->arrivals("pump/text").back().bytes, text);
        QCOMPARE(_host->arrivals("pump/image").back().bytes, image);
        QCOMPARE(_host->arrivals("pump/kick").size(), size_t(1));
        QCOMPARE(_host->arrivals("pump/level").back().number, 1e-300);
    }

    void pauseMoveAndPlayFromThere()
    {
        const QString uuid = makeRecord(20, 50); // about a second
        isSeen("nobody");
        QVERIFY(load(uuid));
        _host->listen("pump", "level");
        const std::string progress = _name.toStdString() + "/replay_progress";
        _host->clearArrivals();
        call("play");
        QVERIFY(waitUntil([&] { return _host->arrivals(progress).size() >= 5; }));
        call("pause");
        QVERIFY(_host->reply("paused"));
        const double pausedAt = _host->arrivals(progress).back().number;
        QVERIFY(pausedAt > 0.0);
        call("get_context");
        auto context = _host->reply("context");
        QCOMPARE(context->text(0), uuid);
        QCOMPARE(context->number(3), pausedAt);
        QCOMPARE(context->boolean(5), false);

        call("move_to", { 0.5 });
        const auto moved = _host->reply("moved_to");
        QVERIFY(moved);
        QCOMPARE(moved->number(0), 0.5);
        _host->clearArrivals();
        QTest::qWait(250);
        QVERIFY(_host->arrivals().empty()); // stays paused, publishes nothing

        call("play");
        QVERIFY(_host->reply("replay_ended"));
        // The state at 0.5 s goes out first, then what follows, to the last.
        const auto levels = _host->arrivals("pump/level");
        QVERIFY(levels.size() >= 8 && levels.size() <= 12);
        for (size_t i = 1; i < levels.size(); ++i) {
            QCOMPARE(levels[i].number, levels[i - 1].number + 1.0);
        }
        QCOMPARE(levels.back().number, 20.0);
        for (const Arrival& value : _host->arrivals(progress)) {
            QVERIFY(value.number >= 0.5);
        }
        call("pause"); // as the module does after every end
        QVERIFY(_host->reply("paused"));
        call("move_to", { 0.0 });
        QCOMPARE(_host->reply("moved_to")->number(0), 0.0);
        call("move_to", { -3.0 });
        QCOMPARE(_host->reply("moved_to")->number(0), 0.0);
        call("move_to", { 1e12 });
        QCOMPARE(_host->reply("moved_to")->number(0), recordOf(uuid)["duration_us"].toDouble() / 1e6);
    }

    void noProgressOfBeforeAMoveComesAfterItsAnswer()
    {
        const QString uuid = makeRecord(20, 50);
        isSeen("nobody");
        QVERIFY(load(uuid));
        const std::string progress = _name.toStdString() + "/replay_progress";
        for (int i = 0; i < 10; ++i) {
            _host->clearArrivals();
            call("play");
            QVERIFY(waitUntil([&] { return !_host->arrivals(progress).empty(); }));
            QTest::qSleep(30 * i % 110);
            call("pause");
            call("move_to", { 0.0 });
            const auto moved = _host->reply("moved_to");
            QVERIFY(moved);
            QTest::qSleep(150);
            for (const Arrival& value : _host->arrivals(progress)) {
                QVERIFY(value.atNs <= moved->atNs);
            }
            QVERIFY(_host->reply("paused"));
        }
    }

    void filteredAgentsAreNotReplayed()
    {
        QString uuid;
        {
            PlantAgent pump("pump");
            PlantAgent valve("valve");
            isSeen("valve");
            uuid = record();
            for (int i = 1; i <= 5; ++i) {
                pump.publish("level", double(i));
                valve.publish("level", double(i));
                QTest::qSleep(20);
            }
            QVERIFY(stopRecording());
        }
        isSeen("nobody");
        QVERIFY(load(uuid));
        _host->listen("pump", "level");
        _host->listen("valve", "level");
        call("filter_replaying_agents", { QByteArray(R"(["valve"])") });
        QVERIFY(_host->reply("filter_applied"));
        QVERIFY(waitUntil([] { return !qny_agent_is_present("pump") && qny_agent_is_present("valve"); }));
        _host->clearArrivals();
        call("play");
        QVERIFY(_host->reply("replay_ended"));
        QVERIFY(_host->arrivals("pump/level").empty());
        QCOMPARE(_host->arrivals("valve/level").back().number, 5.0);
        call("get_context");
        auto context = _host->reply("context");
        QCOMPARE(namesOf(context->text(6)), (QStringList { "pump", "valve" }));
        QCOMPARE(namesOf(context->text(7)), QStringList { "valve" });
        // A text that does not parse is answered, and changes nothing.
        for (const char* bad : { "valve", "{}", "[1]", "" }) {
            call("filter_replaying_agents", { QByteArray(bad) });
            QVERIFY(_host->reply("filter_applied"));
        }
        call("get_context");
        QCOMPARE(namesOf(_host->reply("context")->text(7)), QStringList { "valve" });
        call("filter_replaying_agents", { QByteArray("[]") });
        QVERIFY(_host->reply("filter_applied"));
        QVERIFY(waitUntil([] { return qny_agent_is_present("pump"); }));
    }

    void aWindowIsReplayedFromItsStart()
    {
        const QString uuid = makeRecord(20, 50);
        isSeen("nobody");
        call("load", { uuid.toUtf8(), 0.25, 0.5 });
        const auto loaded = _host->reply("loaded");
        QVERIFY(loaded);
        QCOMPARE(loaded->number(2), 0.5);
        _host->listen("pump", "level");
        _host->clearArrivals();
        call("play");
        QVERIFY(_host->reply("replay_ended"));
        const auto progress = _host->arrivals(_name.toStdString() + "/replay_progress");
        QCOMPARE(progress.back().number, 0.5);
        const auto levels = _host->arrivals("pump/level");
        QVERIFY(levels.size() >= 8 && levels.size() <= 13);
        QVERIFY(levels.back().number < 18.0);
    }

    void aLiveAgentIsNotReplayedOver()
    {
        const QString uuid = makeRecord(3, 10);
        PlantAgent pump("pump");
        isSeen("pump");
        call("load", { uuid.toUtf8(), 0.0, 1e9 });
        const auto failed = _host->reply("loading_failed");
        QVERIFY(failed);
        QCOMPARE(failed->text(0), uuid);
        QVERIFY2(failed->text(1).contains("pump"), qPrintable(failed->text(1)));
    }

    void aStandInGivesWayToTheAgentItself()
    {
        const QString uuid = makeRecord(3, 10);
        isSeen("nobody");
        QVERIFY(load(uuid));
        QVERIFY(waitUntil([] { return qny_agent_is_present("pump"); }));
        PlantAgent pump("pump");
        QVERIFY(waitUntil([] { return !qny_agent_is_present("pump"); })); // the only one of another process
    }

    void whatCannotBeLoadedSaysWhy_data()
    {
        QTest::addColumn<QByteArray>("uuid");
        QTest::addColumn<double>("start");
        QTest::addColumn<double>("duration");
        QTest::newRow("unknown") << QByteArray("11111111-2222-3333-4444-555555555555") << 0.0 << 1.0;
        QTest::newRow("empty") << QByteArray("") << 0.0 << 1.0;
        QTest::newRow("negative start") << QByteArray("x") << -1.0 << 1.0;
        QTest::newRow("no number") << QByteArray("x") << 0.0 << std::nan("");
    }
    void whatCannotBeLoadedSaysWhy()
    {
        QFETCH(QByteArray, uuid);
        QFETCH(double, start);
        QFETCH(double, duration);
        call("load", { uuid, start, duration });
        const auto failed = _host->reply("loading_failed");
        QVERIFY(failed);
        QCOMPARE(failed->text(0).toUtf8(), uuid);
        QVERIFY(!failed->text(1).isEmpty());
        call("get_context");
        QCOMPARE(_host->reply("context")->text(0), QString());
    }

    void aRecordBeingMadeCannotBeLoadedNorDeleted()
    {
        const QString uuid = record("being made");
        call("load", { uuid.toUtf8(), 0.0, 1.0 });
        QVERIFY(_host->reply("loading_failed"));
        call("delete", { uuid.toUtf8() });
        QVERIFY(stopRecording());
        QVERIFY(!recordOf(uuid).isEmpty());
    }

    void withNothingLoadedEveryCommandIsStillAnswered()
    {
        call("play");
        QVERIFY(_host->reply("paused"));
        call("pause");
        QVERIFY(_host->reply("paused"));
        call("move_to", { 5.0 });
        QCOMPARE(_host->reply("moved_to")->number(0), 0.0);
        call("filter_replaying_agents", { QByteArray("[]") });
        QVERIFY(_host->reply("filter_applied"));
        call("unload");
        QVERIFY(_host->reply("unloaded"));
        call("stop_recording");
        QVERIFY(_host->reply("recording_stopped"));
        call("get_context");
        const auto context = _host->reply("context");
        QCOMPARE(context->text(0), QString());
        QCOMPARE(context->number(4), 1.0);
    }

    void callsThatCannotBeReadAreAnsweredToo()
    {
        call("record", { QByteArray("too few") }, QByteArray("host-id##record"));
        QVERIFY(_host->reply("recording_stopped", "host-id"));
        call("load", { QByteArray("id") });
        QCOMPARE(_host->reply("loading_failed")->text(0), "id");
        call("load_file", { 1.0 });
        QVERIFY(_host->reply("loading_failed"));
        call("move_to", { QByteArray("far") });
        QCOMPARE(_host->reply("moved_to")->number(0), 0.0);
        call("filter_replaying_agents", {});
        QVERIFY(_host->reply("filter_applied"));
        call("set_record_filters", { true });
        QVERIFY(_host->reply("record_filters"));
        call("export", { QByteArray("id") });
        QCOMPARE(_host->reply("receive_export")->text(0), QString());
        call("append", { QByteArray("id") }, QByteArray("host-id##import"));
        QCOMPARE(_host->reply("record_uuid", "host-id##import")->text(0), QString());
        QCOMPARE(_host->reply("record_uuid", "host-id##import")->text(0), "id");
        call("import", {}, QByteArray("host-id##import"));
        QCOMPARE(_host->reply("record_uuid", "host-id##import")->text(0), QString());
        QVERIFY(!_host->reply("record_uuid", "host-id##import")->text(0).isEmpty());
        call("speed", { QByteArray("fast") });
        call("rename", {});
        call("delete", { 1 });
        call("get_records", {});
        QVERIFY(_host->reply("records"));
    }

    // ---- records

    void recordsAreRenamedAndDeleted()
    {
        const QString uuid = makeRecord(2, 10, "old name");
        call("rename", { uuid.toUtf8(), QByteArray("nëw name") });
        QCOMPARE(recordOf(uuid)["name"].toString(), "nëw name");
        call("rename", { uuid.toUtf8(), QByteArray("") });
        QCOMPARE(recordOf(uuid)["name"].toString(), "nëw name");
        call("delete", { uuid.toUtf8() });
        QVERIFY(recordOf(uuid).isEmpty());
    }

    void aRecordLoadedForAnotherHostIsNotDeleted()
    {
        const QString uuid = makeRecord(2, 10);
        qny_agent_t* agent = qny_agent_new("Second host", nullptr);
        {
            ScriptedHost second(agent);
            qny_agent_activate(agent);
            isSeen("Second host");
            second.call(_name, "load", { uuid.toUtf8(), 0.0, 10.0 }, QByteArray("second"));
            QVERIFY(second.reply("loaded", "second"));
            call("delete", { uuid.toUtf8() });
            QVERIFY(!recordOf(uuid).isEmpty());
            second.call(_name, "delete", { uuid.toUtf8() }, QByteArray("second"));
            QVERIFY(waitUntil([&] { return recordOf(uuid).isEmpty(); }));
        }
        qny_agent_destroy(agent);
    }

    // ---- files, export, import

    void aRecordGoesOutAsCsvAndComesBackTheSame()
    {
        const QString uuid = makeRecord(40, 5, "to export");
        const QByteArray exported = _host->exported(_name, uuid);
        QCOMPARE(exported.count(";output;level;double;"), 40);

        // The module doubles line ends.
        QByteArray doubled = exported;
        doubled.replace("\n", "\n\n");
        call("import", { QByteArray("copy"), true, QByteArray(""), doubled }, QByteArray("host-id##import"));
        const auto imported = _host->reply("record_uuid", "host-id##import");
        QVERIFY(imported);
        const QString copy = imported->text(0);
        QVERIFY(!copy.isEmpty() && copy != uuid);
        QCOMPARE(recordOf(copy)["name"].toString(), "copy");
        QCOMPARE(recordOf(copy)["duration_us"].toDouble(), recordOf(uuid)["duration_us"].toDouble());
        QByteArray again = _host->exported(_name, copy);
        again.replace("copy", "to export");
        QCOMPARE(again, exported);

        // The file itself is loaded and played as well.
        QFile file(_directory.filePath("exported ü.csv"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(exported);
        file.close();
        isSeen("nobody");
        call("load_file", { file.fileName().toUtf8() });
        const auto loaded = _host->reply("loaded");
        QVERIFY(loaded);
        QCOMPARE(loaded->text(0), file.fileName());
        QCOMPARE(namesOf(loaded->text(3)), QStringList { "pump" });
        QCOMPARE(loaded->number(2), recordOf(uuid)["duration_us"].toDouble() / 1e6);
        _host->listen("pump", "level");
        _host->clearArrivals();
        call("play");
        QVERIFY(_host->reply("replay_ended"));
        QCOMPARE(_host->arrivals("pump/level").size(), size_t(41));

        for (const QString& one : { uuid, copy }) {
            call("delete", { one.toUtf8() });
            QVERIFY(recordOf(one).isEmpty());
        }
    }

    void anImportInChunksIsWholeAfterEachOfThem()
    {
        const auto chunk = [](int from, int count) {
            QByteArray rows;
            for (int i = from; i < from + count; ++i) {
                rows += "sheet;" + QByteArray::number(qint64(i) * 1000) + ";output;level;double;1\n\n";
            }
            return rows;
        };
        const QByteArray token("host-id##import");
        call("import", { QByteArray("sheet"), true, QByteArray(""), chunk(0, 100) }, token);
        const QString uuid = _host->reply("record_uuid", token.constData())->text(0);
        QCOMPARE(recordOf(uuid)["duration_us"].toInt(), 99'000);
        call("append", { uuid.toUtf8(), chunk(100, 100) }, token);
        QCOMPARE(_host->reply("record_uuid", token.constData())->text(0), uuid);
        QCOMPARE(recordOf(uuid)["duration_us"].toInt(), 199'000);
        call("append", { uuid.toUtf8(), QByteArray("") }, token);
        QCOMPARE(_host->reply("record_uuid", token.constData())->text(0), uuid);
        // Rows that are none: told once, then the rest is dropped.
        call("append", { uuid.toUtf8(), QByteArray("nonsense\n\n") }, token);
        QCOMPARE(_host->reply("record_uuid", token.constData())->text(0), QString());
        QCOMPARE(_host->reply("record_uuid", token.constData())->text(0), uuid);
        call("append", { uuid.toUtf8(), chunk(200, 100) }, token);
        QCOMPARE(_host->reply("record_uuid", token.constData())->text(0), uuid);
        QCOMPARE(recordOf(uuid)["duration_us"].toInt(), 199'000);
        QVERIFY(!_host->hears("record_uuid", 100));
        call("delete", { uuid.toUtf8() });
        QVERIFY(recordOf(uuid).isEmpty());
    }

    void twoExportsAtOnceDoNotDisturbOneAnother()
    {
        const QByteArray token("host-id##import");
        std::vector<QString> uuids;
        for (const char* agent : { "one", "two" }) {
            QByteArray rows = csvRows(25'000, agent);
            rows.replace("\n", "\n\n");
            call("import", { QByteArray(agent), true, QByteArray(""), rows }, token);
            uuids.push_back(_host->reply("record_uuid", token.constData())->text(0));
        }
        struct Running
        {
            QByteArray cursor;
            int32_t bucket = 0;
            int rows = 0;
            bool isDone = false;
        };
        Running running[2];
        const char* tokens[2] = { "export-one", "export-two" };
        for (int round = 0; !running[0].isDone || !running[1].isDone; ++round) {
            QVERIFY(round < 100);
            for (size_t i = 0; i < 2; ++i) {
                if (!running[i].isDone) {
                    call("export", { uuids[i].toUtf8(), running[i].bucket, running[i].cursor, -1, round == 0, false },
                        QByteArray(tokens[i]));
                }
            }
            for (size_t i = 0; i < 2; ++i) {
                if (running[i].isDone) {
                    continue;
                }
                const auto chunk = _host->reply("receive_export", tokens[i]);
                QVERIFY(chunk);
                QCOMPARE(chunk->text(0), uuids[i]);
                const QByteArray content = chunk->text(3).toUtf8();
                QVERIFY(!content.endsWith('\n'));
                running[i].rows += int(content.count(i == 0 ? "one;" : "two;"));
                QCOMPARE(content.count(i == 0 ? "\ntwo;" : "\none;"), 0);
                running[i].bucket = chunk->integer(1);
                running[i].cursor = chunk->text(2).toUtf8();
                running[i].isDone = running[i].cursor.isEmpty();
            }
        }
        QVERIFY(running[0].rows >= 25'000 && running[0].rows < 25'010);
        QVERIFY(running[1].rows >= 25'000 && running[1].rows < 25'010);
        for (const QString& uuid : uuids) {
            call("delete", { uuid.toUtf8() });
        }
    }

    // What exported or imported it last may not hold it any more when it has answered.
    void aRecordMayBeDeletedAsSoonAsItsExportOrImportHasEnded()
    {
        const QByteArray token("host-id##import");
        QByteArray rows = csvRows(100, "one");
        rows.replace("\n", "\n\n");
        for (int round = 0; round < 60; ++round) {
            call("import", { QByteArray("short"), true, QByteArray(""), rows }, token);
            const QString uuid = _host->reply("record_uuid", token.constData())->text(0);
            if (round % 2 == 0) {
                QVERIFY(_host->exported(_name, uuid) != "failed");
            }
            call("delete", { uuid.toUtf8() });
            QVERIFY(recordOf(uuid).isEmpty());
        }
    }

    void anUnknownRecordIsExportedAsNothing()
    {
        call("export", { QByteArray("11111111-2222-3333-4444-555555555555"), 0, QByteArray(""), -1, true, false });
        const auto chunk = _host->reply("receive_export");
        QVERIFY(chunk);
        QCOMPARE(chunk->text(0), QString());
        QCOMPARE(chunk->text(2), QString());
    }

    void aFileThatIsNoRecordIsRefusedWithLineAndReason()
    {
        QFile file(_directory.filePath("bad.csv"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(csvRows(3) + "sheet;late;output;level;double;1\n");
        file.close();
        call("load_file", { file.fileName().toUtf8() });
        auto failed = _host->reply("loading_failed");
        QVERIFY(failed);
        QCOMPARE(failed->text(0), file.fileName());
        QVERIFY2(failed->text(1).contains("line 4"), qPrintable(failed->text(1)));
        call("load_file", { QByteArray("/no/such/file.csv") });
        failed = _host->reply("loading_failed");
        QCOMPARE(failed->text(0), "/no/such/file.csv");
    }

    void aNewerLoadReplacesOneInProgressWhichIsNotAnswered()
    {
        QFile file(_directory.filePath("long.csv"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(csvRows(1'500'000));
        file.close();
        isSeen("nobody");
        call("load_file", { file.fileName().toUtf8() }, QByteArray("first"));
        QVERIFY(_host->reply("loading", "first"));
        call("load_file", { file.fileName().toUtf8() }, QByteArray("second"));
        // Progress comes at least four times a second while it lasts.
        std::vector<Reply> loading;
        std::optional<Reply> loaded;
        while (!loaded) {
            if (const auto one = _host->reply("loading", "second", 20)) {
                loading.push_back(*one);
            }
            loaded = _host->reply("loaded", "second", 0);
            QVERIFY(loading.empty() || monotonicNs() - loading.back().atNs < 10'000'000'000);
        }
        while (const auto one = _host->reply("loading", "second", 0)) {
            loading.push_back(*one);
        }
        for (size_t i = 1; i < loading.size(); ++i) {
            QVERIFY(loading[i].atNs - loading[i - 1].atNs < 400'000'000);
            QVERIFY(loading[i].number(0) >= loading[i - 1].number(0));
        }
        QVERIFY(!_host->reply("loaded", "first", 100));
        QVERIFY(!_host->reply("loading_failed", "first", 0));
        // Other hosts' commands are answered while a file is being read.
        call("load_file", { file.fileName().toUtf8() }, QByteArray("third"));
        const int64_t asked = monotonicNs();
        call("pause", {}, QByteArray("other"));
        const auto paused = _host->reply("paused", "other");
        QVERIFY(paused);
        QVERIFY(paused->atNs - asked < 100'000'000);
        // A recording ends it.
        QVERIFY(!record().isEmpty());
        QVERIFY(_host->reply("loading_failed", "third"));
        QVERIFY(stopRecording());
    }

    // ---- the end of the program

    void afterAKillTheRecordIsClosedWithEveryEventOlderThanASecond()
    {
        PlantAgent pump("pump");
        isSeen("pump");
        const QString uuid = record("cut short");
        int published = 0;
        int olderThanASecond = 0;
        const int64_t begin = monotonicNs();
        while (monotonicNs() - begin < 3'000'000'000) {
            pump.publish("level", double(++published));
            if (monotonicNs() - begin < 2'000'000'000) {
                olderThanASecond = published;
            }
            QTest::qSleep(2);
        }
        _recorder->kill();
        startRecorder(storeOptions());
        const QJsonObject entry = recordOf(uuid);
        QVERIFY(!entry["end_date"].toString().isEmpty());
        QVERIFY(entry["duration_us"].toDouble() >= 2e6);
        QVERIFY(entry["duration_us"].toDouble() < 3.5e6);
        call("export", { uuid.toUtf8(), 0, QByteArray(""), -1, true, false });
        const auto chunk = _host->reply("receive_export");
        QVERIFY(chunk);
        QVERIFY(chunk->text(3).toUtf8().count(";output;level;double;") >= olderThanASecond);
    }

    void aStopRequestFinishesTheRecordingFirst()
    {
        const QString uuid = record("asked to stop");
        QTest::qWait(300);
        QCOMPARE(qny_request_stop(recorderUuid().toUtf8().constData()), QNY_SUCCESS);
        QCOMPARE(_recorder->waitForEnd(), 0);
        QVERIFY(_host->reply("recording_stopped", "host-id"));
        startRecorder(storeOptions());
        QVERIFY(!recordOf(uuid)["end_date"].toString().isEmpty());
        QVERIFY(recordOf(uuid)["duration_us"].toDouble() >= 250'000);
    }

private:
    QString recorderUuid() const
    {
        struct Search
        {
            std::string name;
            QString uuid;
        } search { _name.toStdString(), {} };
        const auto look = [](qny_agent_event_t, const qny_agent_info_t* agent, void* data) {
            auto* one = static_cast<Search*>(data);
            if (one->name == agent->name) {
                one->uuid = QString::fromUtf8(agent->uuid);
            }
        };
        qny_observe_agents(look, &search);
        waitUntil([&] { return !search.uuid.isEmpty(); });
        qny_unobserve_agents(look, &search);
        return search.uuid;
    }
};

QTEST_GUILESS_MAIN(RecorderAgentTest)
#include "tst_recorder_agent.moc"
