// SPDX-License-Identifier: Apache-2.0
// What recorders answer: what is in order, what comes too late, and what is wrong.
#include "actions.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <limits>

namespace {

constexpr int PERCENT_STALE = 6;
constexpr int PERCENT_WRONG = 4;

// Whom a reply names, and what the test expects of it when it is in order.
struct Answered
{
    /// Null for a reply that names none that is there.
    RecorderInstance* instance = nullptr;
    QString token;
    QuenaryDouble::Sender sender;
};

Answered anyAnswered(World& world)
{
    Answered answered;
    answered.instance = world.random.chance(90) ? world.anyInstanceThatIsOn() : world.anyInstance();
    if (!answered.instance || world.random.chance(PERCENT_STALE)) {
        answered.instance = nullptr;
        QStringList wrong = world.deadUuids;
        wrong += { QString(), QStringLiteral(""), QStringLiteral("nobody"), QStringLiteral("##") };
        answered.token = world.random.pick(wrong);
        world.messages.allow(QStringLiteral("nknown recorder"));
    } else {
        answered.token = answered.instance->uuid();
        answered.sender = { answered.instance->name(), answered.instance->agentInstanceUuid() };
    }
    world.journal.note(answered.instance ? world.label(answered.instance) : QStringLiteral("stale token"));
    return answered;
}

// Sends a reply, now and then with arguments that no recorder may send. True when it was in order.
bool send(World& world, const Answered& answered, const char* service, QVariantList arguments, bool isChecked = true)
{
    const bool isWrong = isChecked && world.random.chance(PERCENT_WRONG);
    if (isWrong) {
        world.messages.allow(QStringLiteral("reply: "));
        const int what = world.random.below(3);
        if (what == 0 || arguments.isEmpty()) {
            arguments.append(QStringLiteral("one too many"));
        } else if (what == 1) {
            arguments.removeLast();
        } else {
            arguments[world.random.below(arguments.size())] = QByteArray("data");
        }
        world.journal.note(QStringLiteral("with wrong arguments"));
    }
    QuenaryDouble::callService(QLatin1StringView(service), arguments, answered.token, answered.sender);
    return !isWrong && answered.instance;
}

double anyNumber(World& world)
{
    constexpr double INFINITE = std::numeric_limits<double>::infinity();
    return world.random.pick({ 0.0, 0.0, 1e-13, 0.25, 0.5, 1.0, 1.0, 2.0, 3.0, 42.0, -1.0, 1e300, -1e300, INFINITE,
        -INFINITE, std::numeric_limits<double>::quiet_NaN() });
}

QString anyRecordUuid(World& world)
{
    return QStringLiteral("aaaaaaaa-0000-4000-8000-00000000000%1").arg(world.random.below(8));
}

QString anyReplayId(World& world)
{
    return world.random.chance(75) ? anyRecordUuid(world) : world.random.pick({ "", "/data/one.csv", "/data/two.csv" });
}

QString anyAgents(World& world)
{
    return world.random.pick({ "", "[]", R"(["pump","Tank","valve"])", R"(["pump","Tank","valve"])", R"(["pump"])",
        R"(["tank","Tank"])", R"([1,null,"pump",{}])", "{}", "[" });
}

QString anyDate(World& world)
{
    return world.random.pick({ "2026-11-21T10:00:00.000", "2026-11-21T10:00:00.000", "", "yesterday" });
}

// ---- state ------------------------------------------------------------------------------------------------------

bool context(World& world)
{
    const Answered answered = anyAnswered(world);
    const QString replayId = world.random.chance(30) ? QString() : anyReplayId(world);
    const QString recordId = world.random.chance(50) ? QString() : anyRecordUuid(world);
    world.journal.note(replayId);
    if (send(world, answered, "context",
            { replayId, anyDate(world), anyNumber(world), anyNumber(world), world.random.pick({ 1.0, 0.5, 1.5, 4.0 }),
                world.random.chance(50), anyAgents(world), anyAgents(world), recordId })
        && replayId.isEmpty() && !recordId.isEmpty()) {
        world.expectLater(answered.token, [](ExpectedInstance& instance) { instance.recordingStarted(); });
    }
    return true;
}

QList<ListedRecord> anyRecords(World& world)
{
    QList<ListedRecord> records;
    const int count = world.random.below(7);
    for (int i = 0; i < count; ++i) {
        records.append({ world.random.chance(5) ? QString() : anyRecordUuid(world),
            world.random.pick({ "Night / shift", "Day", "day", "" }),
            world.random.pick({ 0, 1, 3000000, 90500000, -5 }),
            world.random.pick({ "", "2026-11-21 10:00:03.000", " 2026-11-21 11:00:00.500 ", "never" }) });
    }
    return records;
}

QByteArray toJson(World& world, const QList<ListedRecord>& records)
{
    QJsonArray array;
    for (const ListedRecord& record : records) {
        array.append(QJsonObject { { QStringLiteral("uuid"), record.uuid }, { QStringLiteral("name"), record.name },
            { QStringLiteral("duration_us"), record.durationInMicroseconds },
            { QStringLiteral("start_date"), world.random.pick({ "2026-11-21 10:00:00.000", "", "once" }) },
            { QStringLiteral("end_date"), record.endDate } });
        if (world.random.chance(3)) {
            array.append(42);
        }
    }
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

bool records(World& world)
{
    const Answered answered = anyAnswered(world);
    const bool isReadable = world.random.chance(93);
    const QList<ListedRecord> listed = anyRecords(world);
    const QString json = isReadable ? QString::fromUtf8(toJson(world, listed))
                                    : world.random.pick({ "", "{}", "[", "no JSON", "[{\"uuid\":" });
    world.messages.allow(QStringLiteral("An error occured while parsing the records list json"));
    world.messages.allow(QStringLiteral("Invalid JSON: JSON must define an array of records"));
    if (send(world, answered, "records", { json })) {
        world.expectLater(answered.token, [listed, isReadable](ExpectedInstance& instance) {
            if (isReadable) {
                instance.recordsAnswered(listed);
            } else {
                instance.unreadableRecordsAnswered();
            }
        });
    }
    return true;
}

bool recordFilters(World& world)
{
    const Answered answered = anyAnswered(world);
    if (answered.instance) {
        world.allowOff(*answered.instance, "set_record_filters");
    }
    send(world, answered, "record_filters", { world.random.chance(50), world.random.pick({ "", "agent=pump", "*" }) });
    return true;
}

// ---- recording --------------------------------------------------------------------------------------------------

bool recordUuid(World& world)
{
    Answered answered = anyAnswered(world);
    const QString instanceUuid = answered.token;
    const QString action = world.random.pick({ "##record", "##record", "##import", "##import", "##import", "##Import",
        "", "##", "##import##", "##record##import" });
    const QString uuid = world.random.chance(10) ? QString() : anyRecordUuid(world);
    answered.token += action;
    world.journal.note(action);
    world.allowAcknowledgement();
    world.messages.allow(QStringLiteral("'record_uuid' reply: "));
    world.messages.allow(QStringLiteral("nknown recorder id"));
    if (!send(world, answered, "record_uuid", { uuid })) {
        return true;
    }
    if (action == QLatin1StringView("##record")) {
        world.expectLater(instanceUuid, [](ExpectedInstance& instance) { instance.recordingStarted(); });
    } else if (action == QLatin1StringView("##import")) {
        world.expectLater(instanceUuid, [&world, instanceUuid, uuid](ExpectedInstance& instance) {
            instance.importAcknowledged(world.instanceWithUuid(instanceUuid)->agentInstanceUuid(), uuid);
        });
    }
    return true;
}

bool recordingStopped(World& world)
{
    const Answered answered = anyAnswered(world);
    world.messages.allow(QStringLiteral("Instance is off. Can not call service 'get_records'"));
    if (send(world, answered, "recording_stopped", {})) {
        world.expectLater(answered.token, [](ExpectedInstance& instance) { instance.recordingStopped(); });
    }
    return true;
}

bool recordProgress(World& world)
{
    const RecorderInstance* const instance = world.anyInstance();
    if (!instance) {
        return false;
    }
    const double seconds = anyNumber(world);
    world.journal.note(world.label(instance) + u' ' + QString::number(seconds));
    if (QuenaryDouble::writeInput(instance->recordProgressInput(), seconds)) {
        world.expectLater(
            instance->uuid(), [seconds](ExpectedInstance& expected) { expected.recordingProgress(seconds); });
    }
    return true;
}

// ---- replay -----------------------------------------------------------------------------------------------------

bool loading(World& world)
{
    send(world, anyAnswered(world), "loading", { anyNumber(world) });
    return true;
}

bool loaded(World& world)
{
    const QString id = anyReplayId(world);
    world.journal.note(id);
    send(world, anyAnswered(world), "loaded", { id, anyDate(world), anyNumber(world), anyAgents(world) });
    return true;
}

bool loadingFailed(World& world)
{
    send(world, anyAnswered(world), "loading_failed", { anyReplayId(world), world.random.pick({ "", "no such file" }) });
    return true;
}

bool movedTo(World& world)
{
    const Answered answered = anyAnswered(world);
    world.messages.allow(QStringLiteral("Instance is off. Can not call service 'filter_replaying_agents'"));
    send(world, answered, "moved_to", { anyNumber(world) });
    return true;
}

bool replayProgress(World& world)
{
    const RecorderInstance* const instance = world.anyInstance();
    if (!instance) {
        return false;
    }
    world.journal.note(world.label(instance));
    QuenaryDouble::writeInput(instance->replayProgressInput(), anyNumber(world));
    return true;
}

bool replayEnded(World& world)
{
    Answered answered = anyAnswered(world);
    if (world.random.chance(10)) {
        answered.sender.uuid = QStringLiteral("nobody");
    }
    for (const char* message : { "unknown recorder", "no current record", "Can not pause record",
             "Instance is off. Can not call service 'move_to'" }) {
        world.messages.allow(QLatin1StringView(message));
    }
    send(world, answered, "replay_ended", {}, false);
    return true;
}

template <const char* const& service> bool withoutArguments(World& world)
{
    send(world, anyAnswered(world), service, {}, false);
    return true;
}
constexpr const char* UNLOADED = "unloaded";
constexpr const char* FILTER_APPLIED = "filter_applied";
constexpr const char* PAUSED = "paused";

// ---- files ------------------------------------------------------------------------------------------------------

bool receiveExport(World& world)
{
    QList<RecorderInstance*> downloading = world.instances();
    downloading.removeIf([](const RecorderInstance* instance) { return !instance->isDownloadingRecord(); });
    Answered answered = anyAnswered(world);
    if (answered.instance && !downloading.isEmpty() && world.random.chance(80)) {
        answered.instance = world.random.pick(downloading);
        answered.token = answered.instance->uuid();
        world.journal.note(QStringLiteral("rather ") + world.label(answered.instance));
    }
    const QString uuid = world.random.chance(3) ? QString() : anyRecordUuid(world);
    const QString next = world.random.chance(15) ? QString() : QStringLiteral("cursor");
    const QString content = world.random.pick({ "x;0;output", "a\nb;1500000;output;o;double;1", "b;2999999;c", "",
        "b;99999999999;c", "b;-4;c", "b;no number;c", "line\n", "\u00e9;1;2" });
    for (const char* message :
        { "recordUuid is empty, closing file", "failed to write content to record file, closing file",
            "Instance is off. Can not call service 'export'" }) {
        world.messages.allow(QLatin1StringView(message));
    }
    if (send(world, answered, "receive_export", { uuid, world.random.below(9), next, content })) {
        world.expectLater(answered.token, [uuid, next, content](ExpectedInstance& instance) {
            instance.chunkReceived(uuid, next, content);
        });
    }
    return true;
}

} // namespace

const QList<Action> REPLY_ACTIONS {
    { "context", 50, context },
    { "records", 150, records },
    { "record_uuid", 120, recordUuid },
    { "recording_stopped", 30, recordingStopped },
    { "record_filters", 20, recordFilters },
    { "unloaded", 10, withoutArguments<UNLOADED> },
    { "loading", 30, loading },
    { "loaded", 90, loaded },
    { "loading_failed", 15, loadingFailed },
    { "filter_applied", 40, withoutArguments<FILTER_APPLIED> },
    { "paused", 50, withoutArguments<PAUSED> },
    { "moved_to", 60, movedTo },
    { "receive_export", 80, receiveExport },
    { "replay_ended", 30, replayEnded },
    { "record_progress", 120, recordProgress },
    { "replay_progress", 80, replayProgress },
};
