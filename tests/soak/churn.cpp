// SPDX-License-Identifier: Apache-2.0
#include "churn.h"

#include "lines.h"

#include <hostapplication.h>
#include <recordingsteps.h>
#include <replaysteps.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>
#include <QtCore/QUrl>

#include <csignal>

using tour::Answer;
using tour::argument;
using tour::ObjectHandle;
using tour::SignalCounter;
using tour::TourContext;

namespace soak {

namespace {

// Beside whatever else the machine has to do.
constexpr int LONG_ENOUGH_MS = 30'000;
constexpr double MOST_APART_SECONDS = 5.0;
// What is not on the disk yet when a recorder is killed.
constexpr qint64 UNWRITTEN_US = 1'500'000;
// What the launcher publishes of itself is in no journal.
const QString CROWD_ONLY = QStringLiteral("-Launcher");
constexpr int TABS = 3; // of a recorder

bool hasEnd(const ObjectHandle& record)
{
    return record.value("endDateTime").toDateTime().isValid();
}

} // namespace

Churn::Churn(HostApplication& host, const ChurnOptions& options, Say say)
    : _host(host)
    , _options(options)
    , _say(std::move(say))
{
    TourOptions tourOptions;
    tourOptions.outputDirectory = options.folder;
    tourOptions.endpoint = options.endpoint;
    _main = std::make_unique<TourContext>(host, tourOptions);
    _victim = std::make_unique<TourContext>(host, tourOptions);
}

// ---- recorders ------------------------------------------------------------------------------------------------------

bool Churn::prepare()
{
    const SystemDocument* const document = SystemDocumentHandler::instance()->currentSystemDocument();
    return _host.showModule(QStringLiteral("recordAndReplay"))
        && _await(QStringLiteral("the launcher's offer"), [&] { return !document->launchOffers().isEmpty(); })
        && _addRecorder(*_main) && _addRecorder(*_victim) && _connect(*_main);
}

bool Churn::_addRecorder(TourContext& recorder)
{
    recorder.module = ObjectHandle(_host.module(QStringLiteral("recordAndReplay")));
    const QList<ObjectHandle> before = recorder.module.items("recorders");
    SystemDocumentHandler* const handler = SystemDocumentHandler::instance();
    for (const QVariant& variant : handler->currentSystemDocument()->launchOffers()) {
        const QVariantMap offer = variant.toMap();
        if (offer[QStringLiteral("hostName")] == _options.machine) {
            handler->createInstanceOnHost(offer[QStringLiteral("familyUuid")].toString(), _options.machine,
                offer[QStringLiteral("program")].toString());
        }
    }
    const auto isThere = [&] {
        for (const ObjectHandle& candidate : recorder.module.items("recorders")) {
            if (!before.contains(candidate) && candidate.items("instances").size() == 1) {
                recorder.recorder = candidate;
                recorder.instance = candidate.items("instances").first();
            }
        }
        return !recorder.instance.isNull();
    };
    return _await(QStringLiteral("a recorder with a launch line"), isThere)
        && _call(recorder.instance, "updateCassandraEndpoint", { _options.endpoint });
}

bool Churn::_connect(TourContext& recorder)
{
    const SignalCounter contexts(recorder.module,
        SIGNAL(contextReceived(QString, QString, QDateTime, double, double, double, bool, QString, QString, QString)));
    const bool isOn = _call(recorder.instance, "connectAgent") && _await(QStringLiteral("the recorder to be on"), [&] {
        return recorder.instance.isTrue("isOn") && contexts.count() > 0;
    });
    if (isOn && &recorder == _main.get()) {
        _say(lines::RECORDER, recorder.instance.child("runningAgentInfo").text("processId"));
    }
    return isOn;
}

bool Churn::_disconnect(TourContext& recorder)
{
    return _call(recorder.instance, "disconnectAgent")
        && _await(QStringLiteral("the recorder to be off"), [&] { return !recorder.instance.isTrue("isOn"); });
}

// ---- cycles ---------------------------------------------------------------------------------------------------------

void Churn::cycle()
{
    _workWith(*_main);
    if (_cycles % _options.cyclesToKill == 0) {
        _killAndLookAgain(*_victim);
    }
    _showPages();
    QString error;
    if (!_host.saveDocument(_options.folder + QStringLiteral("/document.json"), &error)) {
        _say(lines::FAULT, error);
    }
    _lookAtNotices();
    _say(lines::CYCLE, QString::number(++_cycles));
}

void Churn::finish()
{
    if (_replays == 0) {
        _say(lines::FAULT, QStringLiteral("no record was replayed"));
    }
    _disconnect(*_main);
}

void Churn::_workWith(TourContext& recorder)
{
    recorder.replays.clear();
    const QString file = recorder.path(QStringLiteral("record-%1.csv").arg(++_files));
    const bool isRecorded = _filter(recorder, QStringLiteral("-Nobody")) && _filter(recorder, CROWD_ONLY)
        && _record(recorder, _cycles % 2 == 1);
    if (isRecorded && _export(recorder, recorder.record, file)) {
        _replay(recorder);
        QFile::remove(recorder.path(QStringLiteral("again.csv")));
        QFile::copy(file, recorder.path(QStringLiteral("again.csv")));
        _importAgain(recorder);
        _sayRecord(recorder, file);
    }
    _delete(recorder, recorder.record);
}

void Churn::_killAndLookAgain(TourContext& recorder)
{
    recorder.window = {};
    recorder.record = {};
    const bool isRecording = _connect(recorder) && _filter(recorder, CROWD_ONLY)
        && _check(QStringLiteral("record"), tour::startRecording(recorder, &recorder.window))
        && _check(QStringLiteral("go on recording"), tour::recordUntil(recorder, _options.recordSeconds));
    const auto process
        = static_cast<pid_t>(recorder.instance.child("runningAgentInfo").value("processId").toLongLong());
    if (!isRecording || process < 2) {
        return;
    }
    recorder.window.stop = { tour::nowUs() - UNWRITTEN_US, tour::nowUs() };
    kill(process, SIGKILL);
    const auto isClosed = [&] {
        const QList<ObjectHandle> records = recorder.instance.items("records");
        if (records.size() == 1 && hasEnd(records.first())) {
            recorder.record = records.first();
        }
        return !recorder.record.isNull();
    };
    const QString file = recorder.path(QStringLiteral("record-%1.csv").arg(++_files));
    if (_await(QStringLiteral("the killed recorder to be off"), [&] { return !recorder.instance.isTrue("isOn"); })
        && _await(QStringLiteral("the end of its process"),
            [&] { return !_host.notices().filter(QStringLiteral("SIGKILL")).isEmpty(); })
        && _connect(recorder) && _await(QStringLiteral("the killed recorder's record"), isClosed)
        && _export(recorder, recorder.record, file)) {
        _wasKilled = true;
        _sayRecord(recorder, file);
        _wasKilled = false;
        _delete(recorder, recorder.record);
    }
    _disconnect(recorder);
}

// Opens a recorder's page and goes through its tabs.
void Churn::_showPages()
{
    for (const ObjectHandle& shown : { _victim->instance, ObjectHandle(), _main->instance }) {
        _main->module.set("currentRecorder", argument(shown));
        tour::waitUntil([] { return false; }, 50);
    }
    const auto tab = static_cast<TourContext::Tab>(1 + _cycles % TABS);
    if (_host.window() != nullptr && !_main->showTab(tab)) {
        _say(lines::FAULT, QStringLiteral("the page has no tab %1").arg(static_cast<int>(tab)));
    }
}

// What a person reads and takes away. That a recorder was killed is told, and what became of its recording; anything else
// is a fault.
void Churn::_lookAtNotices()
{
    static const QRegularExpression killed(
        QStringLiteral("was ended on .* by the signal SIGKILL|left during a recording: nothing is recorded any more"
                       "|went out of reach during a recording|was started again: the recording"));
    while (!_host.notices().isEmpty()) {
        const QString notice = _host.notices().first();
        if (!notice.contains(killed)) {
            _say(lines::FAULT, QStringLiteral("the host says: ") + notice);
        }
        _host.dismissNotice(0);
    }
}

// ---- steps ----------------------------------------------------------------------------------------------------------

bool Churn::_record(TourContext& recorder, bool withPause)
{
    recorder.window = {};
    recorder.record = {};
    const double seconds = _options.recordSeconds;
    bool isGood = _check(QStringLiteral("record"), tour::startRecording(recorder, &recorder.window))
        && _check(QStringLiteral("go on recording"), tour::recordUntil(recorder, withPause ? seconds / 2 : seconds));
    if (isGood && withPause) {
        tour::Moment pause { tour::nowUs(), 0 };
        isGood = _call(recorder.instance, "pauseRecording") && _await(QStringLiteral("the recording to pause"), [&] {
            return recorder.instance.isTrue("isRecordingPaused");
        });
        pause.seenUs = tour::nowUs();
        tour::Moment resume { tour::nowUs(), 0 };
        isGood = isGood && _call(recorder.instance, "resumeRecording")
            && _await(QStringLiteral("the recording to go on"), [&] {
                   return !recorder.instance.isTrue("isRecordingPaused") && recorder.instance.isTrue("isRecording");
               });
        resume.seenUs = tour::nowUs();
        recorder.window.pause = pause;
        recorder.window.resume = resume;
        isGood = isGood && _check(QStringLiteral("record on"), tour::recordUntil(recorder, seconds));
    }
    return isGood
        && _check(QStringLiteral("stop recording"),
            tour::stopRecording(recorder, &recorder.window, &recorder.record, MOST_APART_SECONDS));
}

bool Churn::_export(TourContext& recorder, const ObjectHandle& record, const QString& file)
{
    return _check(QStringLiteral("export"), tour::download(recorder, record, file));
}

// A second from the start, then from the middle to the end at the greatest speed.
bool Churn::_replay(TourContext& recorder)
{
    const double middle = recorder.record.number("durationInSeconds") / 2;
    if (!_call(recorder.instance, "loadRecord", { argument(recorder.record) })) {
        return false;
    }
    // In a short record all may be agents that have not gone yet: no others can stand in for them.
    const Answer loaded = tour::awaitLoaded(recorder);
    if (!loaded.passed && loaded.text.contains(QLatin1String("Every recorded agent is on the network itself"))) {
        return true;
    }
    if (!_check(QStringLiteral("load"), loaded)) {
        return false;
    }
    const SignalCounter moves(recorder.module, SIGNAL(recordMovedTo(QString, double)));
    const QList<ObjectHandle> speeds = recorder.record.items("speeds");
    const bool isPlayed = _check(QStringLiteral("play"), tour::beginPlaying(recorder, {}, QStringLiteral("start")))
        && _check(QStringLiteral("pause"), tour::pauseAt(recorder, 1.0))
        && _call(recorder.instance, "moveCurrentRecordTime", { middle })
        && _await(QStringLiteral("the move"),
            [&] { return moves.count() > 0 && !recorder.instance.isTrue("isMovingRecord"); })
        && _call(recorder.instance, "updateRecordSpeed",
            { argument(recorder.record), argument(speeds.value(speeds.size() - 1)) })
        && _check(QStringLiteral("play on"), tour::beginPlaying(recorder, {}, QStringLiteral("middle")))
        && _check(QStringLiteral("play to the end"), tour::playToEnd(recorder));
    _replays += isPlayed ? 1 : 0;
    return _check(QStringLiteral("unload"), tour::unload(recorder)) && isPlayed;
}

// The file comes back as a record, which exports as the same file.
bool Churn::_importAgain(TourContext& recorder)
{
    const QString file = recorder.path(QStringLiteral("again.csv"));
    const QString exported = recorder.path(QStringLiteral("again-exported.csv"));
    const QList<ObjectHandle> before = recorder.instance.items("records");
    recorder.imported = {};
    const auto isImported = [&] {
        for (const ObjectHandle& record : recorder.instance.items("records")) {
            if (!before.contains(record)) {
                recorder.imported = record;
            }
        }
        return !recorder.imported.isNull() && !recorder.instance.isTrue("isImportingRecord");
    };
    if (!_call(recorder.instance, "importRecord", { QUrl::fromLocalFile(file) })
        || !_await(QStringLiteral("the import"), isImported) || !_export(recorder, recorder.imported, exported)) {
        return false;
    }
    QFile first(file);
    QFile second(exported);
    if (!first.open(QIODevice::ReadOnly) || !second.open(QIODevice::ReadOnly)) {
        return _check(QStringLiteral("compare"), Answer::no(QStringLiteral("the files cannot be read")));
    }
    const QString difference
        = tour::describeDifference(tour::withoutNameFact(first.readAll()), tour::withoutNameFact(second.readAll()));
    const bool isSame
        = _check(QStringLiteral("import what was exported"), { difference == QLatin1String("the same"), difference });
    return _delete(recorder, recorder.imported) && isSame;
}

bool Churn::_delete(TourContext& recorder, const ObjectHandle& record)
{
    if (record.isNull()) {
        return false;
    }
    const QString name = record.text("name");
    const qsizetype before = recorder.instance.items("records").size();
    const SignalCounter lists(recorder.module, SIGNAL(recordsReceived(QString, QString)));
    const auto isGone = [&] {
        const QList<ObjectHandle> records = recorder.instance.items("records");
        return records.size() == before - 1
            && std::none_of(records.cbegin(), records.cend(),
                [&](const ObjectHandle& listed) { return listed.text("name") == name; });
    };
    return _call(recorder.instance, "deleteRecord", { argument(record) })
        && _check(
            QStringLiteral("delete"), { recorder.comesToList(lists, isGone), QStringLiteral("it is still listed") });
}

bool Churn::_filter(TourContext& recorder, const QString& filters)
{
    const SignalCounter answers(recorder.module, SIGNAL(recordFiltersReceived(QString, bool, QString)));
    return _call(recorder.instance, "updateRecordFilters", { filters })
        && _await(QStringLiteral("the filters to be in force"),
            [&] { return answers.count() > 0 && recorder.instance.text("recordFilters") == filters; });
}

// ---- what is said ---------------------------------------------------------------------------------------------------

bool Churn::_check(const QString& what, const Answer& answer)
{
    if (!answer.passed) {
        _say(lines::FAULT, QStringLiteral("%1: %2").arg(what, answer.text));
    }
    return answer.passed;
}

bool Churn::_await(const QString& what, const std::function<bool()>& condition)
{
    return _check(QStringLiteral("wait"), tour::await(what, condition, LONG_ENOUGH_MS, [] { return QString(); }));
}

bool Churn::_call(const ObjectHandle& object, const char* method, const QVariantList& arguments)
{
    const QString fault = object.call(method, arguments);
    return _check(QLatin1String(method), { fault.isEmpty(), fault });
}

void Churn::_sayRecord(const TourContext& recorder, const QString& file)
{
    const tour::RecordingWindow& window = recorder.window;
    QJsonObject said { { QStringLiteral("file"), file }, { QStringLiteral("killed"), _wasKilled } };
    const auto add = [&said](const QString& name, const tour::Moment& moment) {
        said.insert(name,
            QJsonObject { { QStringLiteral("asked"), moment.askedUs }, { QStringLiteral("seen"), moment.seenUs } });
    };
    add(QStringLiteral("start"), window.start);
    add(QStringLiteral("stop"), window.stop);
    if (window.pause) {
        add(QStringLiteral("pause"), *window.pause);
        add(QStringLiteral("resume"), *window.resume);
    }
    _say(lines::RECORD, QString::fromUtf8(QJsonDocument(said).toJson(QJsonDocument::Compact)));
}

} // namespace soak
