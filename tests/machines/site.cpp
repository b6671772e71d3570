// SPDX-License-Identifier: Apache-2.0
#include "site.h"

#include "lossaccount.h"

#include <filedialoganswer.h>
#include <recordingsteps.h>
#include <replaycheck.h>
#include <toursteps.h>

#include <host.h>
#include <networkconfiguration.h>
#include <quenary.h>
#include <reservedagentandtoolfamilies.h>
#include <runningagentinfo.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>
#include <systemviewclassinstance.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QRandomGenerator>
#include <QtCore/QRegularExpression>

using namespace tour;

namespace {

const QString OBSERVED = QStringLiteral("observed.csv");
const QString CERTIFICATES = QStringLiteral("certificates");

} // namespace

Site::~Site()
{
    stopWatching();
    _plant.reset();
    stopLauncher();
    host.stop();
}

QString Site::_await(const char* what, const std::function<bool()>& condition) const
{
    return waitUntil(condition, PATIENCE_MS) ? QString()
                                             : QStringLiteral("waited in vain for %1; the host says: %2")
                                                   .arg(QLatin1String(what), host.notices().join(u' '));
}

QString Site::startHost()
{
    if (!_folder.isValid() || !QDir(_folder.path()).mkpath(QStringLiteral("host"))) {
        return QStringLiteral("there is no folder for temporary files");
    }
    qputenv("XDG_DATA_HOME", path("host").toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", path("host").toLocal8Bit());
    _port = static_cast<quint16>(QRandomGenerator::global()->bounded(20'000, 60'000));
    HostOptions options;
    options.withWindow = false;
    options.rememberSettings = false;
    options.connectToNetwork = false;
    options.pluginsDirectory = QStringLiteral(RR_PLUGINS_DIRECTORY);
    QString error;
    return host.start(options, &error) ? QString() : error;
}

QString Site::join(const Way& way)
{
    stopLauncher();
    _plant.reset();
    _way = way;
    NetworkConfiguration* const network = NetworkConfiguration::instance();
    network->disconnectFromNetwork();
    // The host hears of it a little later, and must not take who was there for who comes.
    if (const QString problem = _await("all to be gone", [this] { return !hasLauncher() && plantAgentsSeen() == 0; });
        !problem.isEmpty()) {
        return problem;
    }
    host.newDocument();
    qputenv("QNY_LISTEN", way.listen.toLatin1());
    network->setdevice(way.device);
    network->setport(_port);
    network->setpeers(way.peers);
    if (way.isSecured) {
        if (const QString problem = _makeCertificates(); !problem.isEmpty()) {
            return problem;
        }
    }
    network->setprivateCertificate(way.isSecured ? _certificate(HOST) : QString());
    network->setpublicCertificates(way.isSecured ? path(CERTIFICATES) : QString());
    if (!network->connectToNetwork()) {
        return network->errorText();
    }
    module = ObjectHandle(host.module(QStringLiteral("recordAndReplay")));
    return module.isNull() ? QStringLiteral("there is no module") : QString();
}

QString Site::_certificate(const QString& machine) const
{
    return path(CERTIFICATES) + u'/' + machine + QStringLiteral(".cert_secret");
}

QString Site::_makeCertificates() const
{
    if (!QDir().mkpath(path(CERTIFICATES))) {
        return QStringLiteral("there is no folder for certificates");
    }
    for (const QString& machine : { HOST, RECORDER }) {
        if (qny_certificate_make(
                path(CERTIFICATES).toLocal8Bit().constData(), machine.toUtf8().constData(), nullptr, nullptr)
            != QNY_SUCCESS) {
            return QString::fromUtf8(qny_last_error());
        }
    }
    return {};
}

QProcessEnvironment Site::_environment(const QString& machine) const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QNY_DEVICE", _way.device);
    environment.insert("QNY_PORT", QString::number(_port));
    environment.insert("QNY_PEERS", _way.peers);
    environment.insert("QNY_LISTEN", _way.listen);
    environment.insert("XDG_DATA_HOME", path(machine));
    if (_way.isSecured) {
        environment.insert("QNY_PRIVATE_CERTIFICATE", _certificate(machine));
        environment.insert("QNY_PUBLIC_CERTIFICATES", path(CERTIFICATES));
    }
    return environment;
}

bool Site::hasLauncher() const
{
    return SystemDocumentHandler::instance()->currentSystemDocument()->getOrCreateHost(RECORDER)->hasLauncher();
}

QString Site::startLauncher()
{
    QFile configuration(path("launcher.conf"));
    if (!configuration.open(QIODevice::WriteOnly)) {
        return configuration.errorString();
    }
    configuration.write("program = " + QFileInfo(QStringLiteral(RR_RECORDER)).canonicalFilePath().toUtf8()
        + "\nfamily = " + ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID.toUtf8() + '\n');
    configuration.close();
    _launcher = std::make_unique<QProcess>();
    _launcher->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    _launcher->setProcessEnvironment(_environment(RECORDER));
    _network.machine(RECORDER)->start(*_launcher, QStringLiteral(RR_LAUNCHER),
        { "--configuration", configuration.fileName(), "--state-directory", path("launches"), "--end-agents" });
    return _launcher->waitForStarted() ? _await("the launcher", [this] { return hasLauncher(); })
                                       : _launcher->errorString();
}

void Site::stopLauncher()
{
    if (_launcher) {
        _launcher->terminate();
        _launcher->waitForFinished(PATIENCE_MS);
        _launcher.reset();
    }
}

QString Site::startPlant()
{
    SamplePlantOptions options;
    options.agentsDirectory = QStringLiteral(RR_SAMPLES_DIRECTORY);
    options.journalDirectory = path(QStringLiteral("journals-%1").arg(++_plantRuns));
    _plant = std::make_unique<SamplePlant>();
    QString error;
    {
        const Machine::Visit visit(*_network.machine(PLANT));
        if (!_plant->start(options, &error)) {
            return error;
        }
    }
    return _await("the plant's agents", [this] { return plantAgentsSeen() == SamplePlant::agentNames().size(); });
}

int Site::plantAgentsSeen() const
{
    const auto agents = SystemDocumentHandler::instance()->currentSystemDocument()->runningAgentInfos();
    const QStringList names = SamplePlant::agentNames();
    return static_cast<int>(std::count_if(agents.cbegin(), agents.cend(),
        [&names](const RunningAgentInfo* agent) { return !agent->isStandIn() && names.contains(agent->name()); }));
}

QString Site::_observe(const QStringList& maps)
{
    QString error;
    _observer = std::make_unique<ObserverProcess>();
    _observed = maps.size();
    if (!_observer->start(QStringLiteral(RR_OBSERVER), path(OBSERVED), maps, &error)) {
        return error;
    }
    return _await("the mappings", [this] { return isPlantWatched(); });
}

QString Site::watchPlant()
{
    return _observe({ "Pump A/speed/double", "Pump B/speed/double", "Tank/level/double", "Valve/position/double",
        "Controller/cycle/integer", "Operator/watch/integer" });
}

bool Site::isPlantWatched()
{
    return _observer && _observer->liveMappings() == _observed;
}

QString Site::seePlantAfter(qint64 us)
{
    QString error;
    const QString problem = _await("new values of every agent of the plant", [&] {
        QList<Observation> observations;
        QSet<QString> agents;
        if (_observer->read(&observations, &error)) {
            for (const Observation& each : std::as_const(observations)) {
                if (each.event.timeUs > us) {
                    agents.insert(each.event.agent);
                }
            }
        }
        return agents.size() == _observed;
    });
    return problem + error;
}

QString Site::stopPlant()
{
    _plant.reset();
    _journal = {};
    return readJournals(path(QStringLiteral("journals-%1").arg(_plantRuns)), &_journal);
}

void Site::losePower()
{
    _network.powerDown(RECORDER);
    _window.stop.askedUs = _window.stop.seenUs = nowUs();
    if (_launcher) {
        _launcher->waitForFinished(PATIENCE_MS);
        _launcher.reset();
    }
}

QString Site::addRecorder()
{
    const SystemDocument* const document = SystemDocumentHandler::instance()->currentSystemDocument();
    const QString problem = _await("an offer", [document] { return document->launchOffers().size() == 1; });
    if (!problem.isEmpty()) {
        return problem;
    }
    const QVariantMap offer = document->launchOffers().at(0).toMap();
    _classInstance = qobject_cast<SystemViewClassInstance*>(SystemDocumentHandler::instance()->createInstanceOnHost(
        offer["familyUuid"].toString(), offer["hostName"].toString(), offer["program"].toString()));
    return _await("the module's recorder", [this] {
        const QList<ObjectHandle> recorders = module.items("recorders");
        instance = recorders.isEmpty() ? ObjectHandle() : recorders.first().items("instances").value(0);
        return instance.isTrue("isRunnable");
    });
}

QString Site::connectRecorder()
{
    const SignalCounter contexts(module,
        SIGNAL(contextReceived(QString, QString, QDateTime, double, double, double, bool, QString, QString, QString)));
    const QString fault = instance.call("connectAgent");
    return !fault.isEmpty() ? fault : _await("the recorder", [&] { return isOn() && contexts.count() > 0; });
}

QString Site::disconnectRecorder()
{
    const QString fault = instance.call("disconnectAgent");
    return !fault.isEmpty()
        ? fault
        : _await("the recorder's end", [this] { return !isOn() && QDir(path("launches/launches")).isEmpty(); });
}

QString Site::startRecording()
{
    _window = {};
    // Outages and other machines' clocks: what is near enough here is only whether everything stands in the record.
    _window.toleranceUs = 2'000'000;
    _window.start.askedUs = nowUs();
    const QString fault = instance.call("startRecording");
    if (!fault.isEmpty()) {
        return fault;
    }
    const QString problem = _await("the recording", [this] { return instance.isTrue("isRecording"); });
    _window.start.seenUs = nowUs();
    return problem;
}

QString Site::recordFor(double seconds)
{
    const double until = instance.number("recordingProgressInSeconds") + seconds;
    return _await("the recording to go on",
        [&] { return instance.isTrue("isRecording") && instance.number("recordingProgressInSeconds") >= until; });
}

QString Site::recordPlant(double seconds)
{
    QString problem = startPlant();
    if (problem.isEmpty()) {
        problem = startRecording();
    }
    return problem.isEmpty() ? recordFor(seconds) : problem;
}

QString Site::stopRecording()
{
    const SignalCounter answers(module, SIGNAL(recordingStoppedReceived(QString)));
    _window.stop.askedUs = nowUs();
    if (const QString fault = instance.call("stopRecording"); !fault.isEmpty()) {
        return fault;
    }
    if (const QString problem = _await("the recording's end", [&] { return answers.count() > 0; });
        !problem.isEmpty()) {
        return problem;
    }
    _window.stop.seenUs = nowUs();
    return _awaitNewRecord();
}

QString Site::_awaitNewRecord()
{
    record = {};
    return _await("a new record in the list", [&] {
        const QList<ObjectHandle> records = endedRecords(instance);
        for (const ObjectHandle& each : records) {
            // The list may come anew after an outage: it is known by its start, which is told in milliseconds.
            const QDateTime startedAt = each.value("startDateTime").toDateTime();
            if (startedAt.toMSecsSinceEpoch() >= _window.start.askedUs / 1000) {
                record = each;
                _recordedAt = startedAt;
            }
        }
        return !record.isNull();
    });
}

QString Site::findRecordAgain()
{
    return _await("the record in the list", [this] {
        for (const ObjectHandle& each : instance.items("records")) {
            if (each.value("startDateTime").toDateTime() == _recordedAt) {
                record = each;
                return true;
            }
        }
        return false;
    });
}

QString Site::beginLoad()
{
    return instance.call("loadRecord", { argument(record) });
}

QString Site::load()
{
    if (const QString fault = beginLoad(); !fault.isEmpty()) {
        return fault;
    }
    return _await(
        "the record to be loaded", [this] { return !instance.isTrue("isLoadingRecord") && record.isTrue("isLoaded"); });
}

QString Site::_chooseSpeed(double speed)
{
    for (const ObjectHandle& each : record.items("speeds")) {
        if (qFuzzyCompare(each.number("value"), speed)) {
            return instance.call("updateRecordSpeed", { argument(record), argument(each) });
        }
    }
    return QStringLiteral("there is no speed of %1").arg(speed);
}

QString Site::play(double speed)
{
    QString fault = _chooseSpeed(speed);
    if (fault.isEmpty()) {
        fault = instance.call("playRecord", { argument(record) });
    }
    return !fault.isEmpty() ? fault : _await("the replay", [this] {
        return record.isTrue("isReplaying") && record.number("replayProgressInSecond") > 0.0;
    });
}

QString Site::playToItsEnd(double speed)
{
    RecordFile file;
    QString error;
    if (!file.readFile(path("record.csv"), &error)) {
        return error;
    }
    // An observer on the host's machine sees what the stand-ins publish on the recorder's.
    QSet<QString> maps;
    const QStringList agents
        = SamplePlant::agentNames(); // the launcher is recorded too, but there: nobody stands in for it
    for (const TracedEvent& event : file.initialValues() + file.events()) {
        if (!agents.contains(event.agent)) {
            continue;
        }
        maps.insert(event.agent + u'/' + event.output + u'/' + event.value.type);
    }
    QString problem = _observe(maps.values());
    if (!problem.isEmpty()) {
        return problem;
    }
    ReplayStretch stretch;
    stretch.speed = speed;
    stretch.agents = agents;
    stretch.playedUs = nowUs();
    problem = play(speed);
    if (problem.isEmpty()) {
        problem = _await(
            "the replay's end", [this] { return record.isTrue("replayIsAtStart") && !record.isTrue("isReplaying"); });
    }
    if (!problem.isEmpty()) {
        return problem;
    }
    QList<Observation> observations;
    // The last publication and the word of the end go different ways.
    ReplayCheck check;
    const auto isSeen = [&] {
        stretch.endedUs = nowUs();
        check = _observer->read(&observations, &error)
            ? checkReplay(file, observations, stretch, { .nearMs = 5'000.0, .wholeMs = 5'000.0 })
            : ReplayCheck();
        observations.clear();
        return check.passed();
    };
    const bool isWhole = waitUntil(isSeen, 5'000);
    stopWatching();
    return isWhole ? QString() : error + check.summary();
}

QString Site::unload()
{
    const QString fault = instance.call("unloadRecord", { argument(record) });
    return !fault.isEmpty()
        ? fault
        : _await("no record to be loaded", [this] { return instance.child("currentRecord").isNull(); });
}

QString Site::beginDownload(const QString& fileName)
{
    QFile::remove(path(fileName));
    const FileDialogAnswer dialog(path(fileName));
    return instance.call("downloadRecord", { argument(record) });
}

QString Site::download(const QString& fileName)
{
    const QString fault = beginDownload(fileName);
    return !fault.isEmpty() ? fault
                            : _await("the download", [this] { return !instance.isTrue("isDownloadingRecord"); });
}

QString Site::beginImport(const QString& fileName, const QByteArray& content)
{
    QFile file(path(fileName));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        return file.errorString();
    }
    return instance.call("importRecord", { QUrl::fromLocalFile(file.fileName()) });
}

QString Site::downloadImport(const QString& name, QByteArray* content)
{
    QString problem = _await("the import in the list", [&] {
        for (const ObjectHandle& each : instance.items("records")) {
            if (each.text("name") == name) {
                record = each;
                return true;
            }
        }
        return false;
    });
    if (problem.isEmpty()) {
        problem = download(QStringLiteral("imported.csv"));
    }
    QFile file(path(QStringLiteral("imported.csv")));
    if (problem.isEmpty() && !file.open(QIODevice::ReadOnly)) {
        problem = file.errorString();
    }
    *content = file.isOpen() ? file.readAll() : QByteArray();
    return problem;
}

QString Site::checkDownload(const QString& fileName)
{
    RecordFile file;
    QString error;
    if (!file.readFile(path(fileName), &error)) {
        return error;
    }
    const RecordCheck check = checkRecord(file, _journal, _window);
    return check.passed() ? QString() : check.summary();
}

QString Site::checkLosses(const QString& fileName, AtTheEnd atTheEnd)
{
    RecordFile file;
    QString error;
    if (!file.readFile(path(fileName), &error)) {
        return error;
    }
    const LossAccount account = accountFor(file, _journal, _window);
    qInfo("%s", qPrintable(account.summary()));
    const bool isWhole = atTheEnd == AtTheEnd::SomeAreAway || account.unheard == 0;
    return account.faults.isEmpty() && isWhole ? QString() : account.summary();
}

QString Site::stopAndCheckLosses(const QString& fileName)
{
    QString problem = stopRecording();
    if (problem.isEmpty()) {
        problem = stopPlant();
    }
    if (problem.isEmpty()) {
        problem = download(fileName);
    }
    return problem.isEmpty() ? checkLosses(fileName) : problem;
}

QString Site::waitingFor() const
{
    QStringList waiting;
    for (const char* each :
        { "isLoadingRecord", "isFilteringRecord", "isMovingRecord", "isStoppingRecord", "isWaitingToFilterAgents",
            "isDownloadingRecord", "isCancelingExport", "isImportingRecord", "isCancelingImport" }) {
        if (instance.isTrue(each)) {
            waiting << QLatin1String(each);
        }
    }
    return waiting.join(u' ');
}

bool Site::isTold(const QString& pattern) const
{
    return !host.notices().filter(QRegularExpression(pattern)).isEmpty();
}
