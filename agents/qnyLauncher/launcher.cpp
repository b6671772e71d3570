// SPDX-License-Identifier: Apache-2.0
#include "launcher.h"

#include "launch.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>

#include <csignal>
#include <cstring>

#include <quenary_launcher.h>

namespace launcher {

namespace {

constexpr qsizetype MOST_UNTOLD = 100;
/// The hosts of a network do not arrive at one moment.
constexpr int TELL_AFTER_MS = 1500;

/// Whether it answers a request, and so is for the one who asked and nobody else.
bool isAnswer(const News& news)
{
    return news.state == QNY_LAUNCH_STARTED || news.state == QNY_LAUNCH_RUNNING || news.state == QNY_LAUNCH_REFUSED;
}

News newsOf(const QString& launchUuid, const QString& program, const std::optional<LaunchEnd>& end)
{
    if (!end) {
        return { launchUuid, QNY_LAUNCH_LOST, 0, program, {} };
    }
    if (end->how == LaunchEnd::Failed) {
        return { launchUuid, QNY_LAUNCH_FAILED, end->number,
            QStringLiteral("%1 could not be started: %2.").arg(program, QLatin1String(std::strerror(end->number))),
            {} };
    }
    const int signal = end->how == LaunchEnd::Signalled ? end->number : 0;
    if (end->wasAsked) {
        return { launchUuid, QNY_LAUNCH_STOPPED, signal, program, {} };
    }
    return { launchUuid, end->how == LaunchEnd::Signalled ? QNY_LAUNCH_SIGNALLED : QNY_LAUNCH_EXITED, end->number,
        program, end->lastLines };
}

} // namespace

Launcher::Launcher(const Configuration& configuration, const Places& places, Tell tell, MayHear mayHear)
    : _configuration(configuration)
    , _places(places)
    , _tell(std::move(tell))
    , _mayHear(std::move(mayHear))
{
    _tellLater.setSingleShot(true);
    _tellLater.setInterval(TELL_AFTER_MS);
    connect(&_tellLater, &QTimer::timeout, this,
        [this] { _untold.removeIf([this](const Untold& untold) { return _tellNow(untold); }); });
}

Launcher::~Launcher() = default;

void Launcher::setConfiguration(const Configuration& configuration)
{
    _configuration = configuration;
}

QString Launcher::_folderOf(const QString& launchUuid) const
{
    return QDir(_places.launches).filePath(launchUuid);
}

// ---- requests -------------------------------------------------------------------------------------------------------

void Launcher::startAgent(Request request)
{
    _tellSoon();
    if (_isEnding) {
        _refuse(request, QStringLiteral("The launcher is about to end."));
        return;
    }
    const QString refusal = refusalOf(request, _configuration);
    if (!refusal.isEmpty()) {
        _refuse(request, refusal);
        return;
    }
    request.launchUuid = request.launchUuid.toLower();
    if (const std::shared_ptr<Launch> running = _launches.value(request.launchUuid)) {
        const auto process = static_cast<int>(running->agent());
        qWarning().noquote() << "Refused to" << request.askerName << "to start what runs already, as process"
                             << process;
        _announce(
            { request.askerUuid, { request.launchUuid, QNY_LAUNCH_RUNNING, process, running->files().program(), {} } });
        return;
    }
    if (_launches.size() >= _configuration.children) {
        _refuse(request,
            QStringLiteral("%1 agents run already, and no more are allowed here.").arg(_configuration.children));
        return;
    }
    KeeperOrder order;
    order.folder = _folderOf(request.launchUuid);
    order.program = request.program;
    order.arguments = request.arguments;
    order.log
        = QDir(_places.logs)
              .filePath(QFileInfo(request.program).fileName() + u'-' + request.launchUuid + QStringLiteral(".log"));
    order.logFileBytes = _configuration.logFileBytes;
    order.logFiles = _configuration.logFiles;
    order.secondsToEnd = _configuration.secondsToEnd;

    auto launch = std::make_shared<Launch>(request.launchUuid, order.folder);
    if (!launch->files().writeAsked(request.program, request.askerUuid)) {
        _refuse(request, QStringLiteral("The launcher cannot write into %1.").arg(_places.launches));
        return;
    }
    _watch(launch);
    const QByteArray askerUuid = request.askerUuid;
    connect(launch.get(), &Launch::started, this, [this, askerUuid, one = launch.get()] {
        const QString program = one->files().program();
        qInfo().noquote() << "Started" << program << "as process" << one->agent() << "for launch" << one->uuid();
        _announce({ askerUuid, { one->uuid(), QNY_LAUNCH_STARTED, static_cast<int>(one->agent()), program, {} } });
    });
    qInfo().noquote() << request.askerName << "asks for" << request.program << "with" << request.arguments.size()
                      << "arguments, launch" << request.launchUuid;
    const int error = launch->start(_places.keeperProgram, order);
    if (error != 0) {
        launch->files().writeEnd({ LaunchEnd::Failed, error, false, {} });
        _onEnded(request.launchUuid);
    }
}

void Launcher::stopAgent(
    const QString& launchUuid, int processId, const QByteArray& askerUuid, const QString& askerName)
{
    _tellSoon();
    std::shared_ptr<Launch> found = _launches.value(launchUuid.toLower());
    for (const std::shared_ptr<Launch>& launch : std::as_const(_launches)) {
        if (launchUuid.isEmpty() && processId > 0 && launch->agent() == processId) {
            found = launch;
        }
    }
    if (found) {
        qInfo().noquote() << askerName << "asks to end process" << found->agent() << "of launch" << found->uuid();
        if (_hosts.contains(askerUuid)) {
            _enders[found->uuid()].insert(askerUuid);
        }
        found->askToEnd();
        return;
    }
    const QString why = launchUuid.isEmpty()
        ? QStringLiteral("Process %1 was not started by this launcher, which leaves it alone.").arg(processId)
        : QStringLiteral("It does not run under this launcher.");
    qWarning().noquote() << "Refused to" << askerName << "to end an agent:" << why;
    _announce({ askerUuid, { launchUuid.left(36), QNY_LAUNCH_REFUSED, processId, why, {} } });
}

void Launcher::_refuse(const Request& request, const QString& why)
{
    qWarning().noquote() << "Refused to start an agent for" << request.askerName << ":" << why;
    _announce({ request.askerUuid, { request.launchUuid.left(36), QNY_LAUNCH_REFUSED, 0, why, {} } });
}

// ---- agents ---------------------------------------------------------------------------------------------------------

void Launcher::takeOver()
{
    const QStringList folders = QDir(_places.launches).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& name : folders) {
        if (!isPlainUuid(name)) {
            continue;
        }
        auto launch = std::make_shared<Launch>(name, _folderOf(name));
        _watch(launch);
        if (launch->adopt()) {
            qInfo().noquote() << "Process" << launch->agent() << "goes on, launch" << name;
        } else {
            _onEnded(name);
        }
    }
    _removeOldLogs();
}

void Launcher::_watch(const std::shared_ptr<Launch>& launch)
{
    const QString uuid = launch->uuid();
    _launches.insert(uuid, launch);
    connect(launch.get(), &Launch::ended, this, [this, uuid] { _onEnded(uuid); }, Qt::QueuedConnection);
}

void Launcher::_onEnded(const QString& launchUuid)
{
    const std::shared_ptr<Launch> launch = _launches.take(launchUuid);
    if (!launch) {
        return;
    }
    LaunchFiles& files = launch->files();
    const std::optional<LaunchEnd> end = files.end();
    const News news = newsOf(launchUuid, files.program(), end);
    qInfo().noquote() << "Launch" << launchUuid << "is over:" << news.state << news.number << news.text;
    const QByteArray askerUuid = files.askerUuid();
    files.remove();
    _announce({ askerUuid, news, _enders.take(launchUuid) });
    _removeOldLogs();
    if (_isEnding && _launches.isEmpty()) {
        Q_EMIT allEnded();
    }
}

int Launcher::runningCount() const
{
    return static_cast<int>(_launches.size());
}

void Launcher::endAll()
{
    _isEnding = true;
    if (_launches.isEmpty()) {
        Q_EMIT allEnded();
        return;
    }
    for (const std::shared_ptr<Launch>& launch : std::as_const(_launches)) {
        launch->askToEnd();
    }
}

void Launcher::_removeOldLogs()
{
    // Newest first; those of agents that run do not count.
    const QFileInfoList logs = QDir(_places.logs).entryInfoList({ QStringLiteral("*.log") }, QDir::Files, QDir::Time);
    int kept = 0;
    for (const QFileInfo& log : logs) {
        const QString uuid = log.completeBaseName().right(36);
        if (!isPlainUuid(uuid) || _launches.contains(uuid) || ++kept <= _configuration.logsKept) {
            continue;
        }
        const QFileInfoList files = QDir(_places.logs).entryInfoList({ log.fileName() + u'*' }, QDir::Files);
        for (const QFileInfo& file : files) {
            QFile::remove(file.filePath());
        }
    }
}

// ---- hosts ----------------------------------------------------------------------------------------------------------

void Launcher::hostEntered(const QByteArray& uuid)
{
    _hosts.insert(uuid);
    _tellSoon();
}

void Launcher::hostExited(const QByteArray& uuid)
{
    _hosts.remove(uuid);
    for (QSet<QByteArray>& enders : _enders) {
        enders.remove(uuid);
    }
    // What it was not told any more, others may be.
    _tellSoon();
}

void Launcher::_announce(const Untold& untold)
{
    if (_tellNow(untold)) {
        return;
    }
    // How an agent ended is worth telling a host that comes later.
    _untold.append(untold);
    while (_untold.size() > MOST_UNTOLD) {
        _untold.removeFirst();
    }
}

/// Somebody may be there now who may hear it.
void Launcher::_tellSoon()
{
    if (!_untold.isEmpty() && !_tellLater.isActive()) {
        _tellLater.start();
    }
}

bool Launcher::_tellNow(const Untold& untold)
{
    if (isAnswer(untold.news)) {
        if (_hosts.contains(untold.askerUuid)) {
            _tell(untold.askerUuid, untold.news);
        }
        return true;
    }
    // Asked now: who may hear it changes while hosts stay.
    QSet<QByteArray> hearers = _hosts;
    hearers.removeIf([this](const QByteArray& host) { return !_mayHear(host); });
    if (hearers.contains(untold.askerUuid)) {
        hearers.intersect(QSet<QByteArray>(untold.enderUuids) << untold.askerUuid);
    }
    bool isTold = false;
    for (const QByteArray& host : std::as_const(hearers)) {
        isTold = _tell(host, untold.news) || isTold;
    }
    return isTold;
}

} // namespace launcher
