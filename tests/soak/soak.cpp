// SPDX-License-Identifier: Apache-2.0
#include "soak.h"

#include "lines.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFileInfo>
#include <QtCore/QRandomGenerator>
#include <QtCore/QRegularExpression>

#include <cstdio>

namespace soak {

namespace {

const QString MACHINE = QStringLiteral("soak machine");
const QString RECORDER_FAMILY = QStringLiteral("6c2b5a0e-3f7d-4d0b-9a51-0f4f3a2c9e77");
constexpr int SETTLE_MS = 1'500;
// Beyond the time of the crowd: starting, the first and the last cycle, and what others do on the machine.
constexpr int PATIENCE_MS = 180'000;
constexpr int ENDING_MS = 20'000;
constexpr qsizetype FAULTS_SHOWN = 40;

} // namespace

Soak::Soak(const SoakOptions& options)
    : _options(options)
    , _ledger(options.folder + QStringLiteral("/crowd.journal"))
{
    connect(&_measuring, &QTimer::timeout, this, &Soak::_measure);
    _settling.setSingleShot(true);
    connect(&_settling, &QTimer::timeout, this, &Soak::_onSettled);
    _patience.setSingleShot(true);
    connect(&_patience, &QTimer::timeout, this, [this] {
        _fault(QStringLiteral("it is not over in time, after %1 cycles").arg(_cycles));
        _enter(Phase::Over);
    });
}

Soak::~Soak()
{
    _stopAll();
}

// ---- programs -------------------------------------------------------------------------------------------------------

bool Soak::_start(QProcess& process, const QString& program, const QStringList& arguments, const QString& name)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), _path(QStringLiteral("data")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), _path(QStringLiteral("config")));
    for (const char* variable : { "QNY_PORT", "QNY_DEVICE", "QNY_PEERS", "QNY_HOST_NAME", "LANGUAGE" }) {
        environment.remove(QLatin1String(variable));
    }
    process.setProcessEnvironment(environment);
    process.setStandardErrorFile(_path(name + QStringLiteral(".log")));
    process.start(program, arguments);
    // A program that ends by itself ends the soak.
    connect(&process, &QProcess::finished, this, [this, name] {
        if (_phase != Phase::Over) {
            _fault(QStringLiteral("the %1 has ended").arg(name));
            _enter(Phase::Over);
        }
    });
    if (!process.waitForStarted()) {
        _fault(QStringLiteral("%1: %2").arg(program, process.errorString()));
        return false;
    }
    return true;
}

void Soak::_writeLauncherConfiguration() const
{
    QFile file(_path(QStringLiteral("launcher.conf")));
    if (file.open(QIODevice::WriteOnly)) {
        const QString program = QFileInfo(_options.recorderProgram).canonicalFilePath();
        file.write(QStringLiteral("seconds-to-end = 5\nprogram = %1\nfamily = %2\nlog-file-bytes = 100000000\n")
                .arg(program, RECORDER_FAMILY)
                .toUtf8());
    }
}

bool Soak::run()
{
    if (QFile::exists(_path(QStringLiteral("crowd.journal"))) || !QDir().mkpath(_path(QStringLiteral("exports")))) {
        _fault(QStringLiteral("%1 cannot be used: it holds a soak, or cannot be made").arg(_options.folder));
        return false;
    }
    const auto readLines = [this](QProcess& process, void (Soak::*onLine)(const QByteArray&)) {
        connect(&process, &QProcess::readyReadStandardOutput, this, [this, &process, onLine] {
            while (process.canReadLine()) {
                (this->*onLine)(process.readLine().trimmed());
            }
        });
    };
    readLines(_host, &Soak::_onHostLine);
    readLines(_crowd, &Soak::_onCrowdLine);

    _writeLauncherConfiguration();
    const QString port = QString::number(QRandomGenerator::global()->bounded(20'000, 60'000));
    QEventLoop loop;
    _loop = &loop;
    const bool isStarted = _start(_launcher, _options.launcherProgram,
                               { QStringLiteral("--configuration"), _path(QStringLiteral("launcher.conf")),
                                   QStringLiteral("--state-directory"), _path(QStringLiteral("state")),
                                   QStringLiteral("--host-name"), MACHINE, QStringLiteral("--end-agents"),
                                   QStringLiteral("--device"), QStringLiteral("lo"), QStringLiteral("--port"), port },
                               QStringLiteral("launcher"))
        && _start(_crowd, _options.crowdProgram,
            { QStringLiteral("--journal"), _path(QStringLiteral("crowd.journal")), QStringLiteral("--port"), port,
                QStringLiteral("--arrivals"), QString::number(_options.arrivals), QStringLiteral("--seconds"),
                QString::number(_options.seconds), QStringLiteral("--stay-ms"), QString::number(_options.mostStayMs) },
            QStringLiteral("crowd"))
        && _start(_host, _options.hostProgram,
            { QStringLiteral("--port"), port, QStringLiteral("--machine"), MACHINE, QStringLiteral("--folder"),
                _path(QStringLiteral("exports")), QStringLiteral("--endpoint"), _options.endpoint,
                QStringLiteral("--record-seconds"), QString::number(_options.recordSeconds) },
            QStringLiteral("host"));
    if (isStarted) {
        _patience.start(_options.seconds * 1'000 + PATIENCE_MS);
        _say(QStringLiteral("soak: %1 arrivals in %2 s, in %3")
                .arg(_options.arrivals)
                .arg(_options.seconds)
                .arg(_options.folder));
        loop.exec();
    }
    _loop = nullptr;
    _phase = Phase::Over;
    _stopAll();
    _readLogs();
    return _judge();
}

void Soak::_stopAll()
{
    for (QProcess* process : { &_host, &_crowd, &_launcher }) {
        process->closeWriteChannel();
        if (process == &_launcher && process->state() != QProcess::NotRunning) {
            process->terminate();
        }
        if (process->state() != QProcess::NotRunning && !process->waitForFinished(ENDING_MS)) {
            _fault(QStringLiteral("%1 does not end").arg(process->program()));
            process->kill();
            process->waitForFinished(ENDING_MS);
        } else if (process->exitStatus() != QProcess::NormalExit || process->exitCode() != 0) {
            _fault(QStringLiteral("%1 ended with %2").arg(process->program()).arg(process->exitCode()));
        }
    }
}

// ---- phases ---------------------------------------------------------------------------------------------------------

void Soak::_enter(Phase phase)
{
    _phase = phase;
    switch (phase) {
    case Phase::Warming:
        break;
    case Phase::Resting:
        _settling.start(SETTLE_MS);
        break;
    case Phase::Crowded:
        _sinceCrowd.start();
        _measuring.start(_options.sampleMs);
        _crowd.write(QByteArray(lines::GO) + '\n');
        _host.write(QByteArray(lines::GO) + '\n');
        break;
    case Phase::Leaving:
        _host.write(QByteArray(lines::END) + '\n');
        break;
    case Phase::Over:
        _measuring.stop();
        if (_loop != nullptr) {
            _loop->quit();
        }
        break;
    }
}

// Nothing happens for a moment: what is held now is compared.
void Soak::_onSettled()
{
    if (_phase == Phase::Resting) {
        _curves.before = _sample();
        _enter(Phase::Crowded);
    } else if (_phase == Phase::Leaving) {
        _curves.after = _sample();
        _enter(Phase::Over);
    }
}

void Soak::_onCrowdLine(const QByteArray& line)
{
    const QList<QByteArray> words = line.split(' ');
    if (words.first() == "rest") {
        _enter(Phase::Leaving);
    } else if (words.size() == 3) {
        _arrived = words[1].toInt();
        _alive = words[2].toInt();
    }
}

void Soak::_onHostLine(const QByteArray& line)
{
    const QByteArray word = line.split(' ').first();
    const QByteArray rest = line.mid(word.size()).trimmed();
    if (word == lines::RECORDER) {
        _recorder = rest.toLongLong();
    } else if (word == lines::WARM) {
        _enter(Phase::Resting);
    } else if (word == lines::CYCLE) {
        _cycles = rest.toInt();
    } else if (word == lines::RECORD) {
        _onRecord(rest);
    } else if (word == lines::QUIET) {
        _settling.start(SETTLE_MS);
    } else if (word == lines::FAULT) {
        _fault(QStringLiteral("cycle %1: %2").arg(_cycles + 1).arg(QString::fromUtf8(rest)));
    } else {
        _fault(QStringLiteral("the host says: ") + QString::fromUtf8(line));
    }
}

void Soak::_onRecord(const QByteArray& json)
{
    MadeRecord record;
    if (!MadeRecord::fromJson(json, &record)) {
        _fault(QStringLiteral("the host tells of a record that is none: ") + QString::fromUtf8(json));
        return;
    }
    const Account account = _ledger.settle(record);
    ++_records;
    _killedRecords += record.wasKilled ? 1 : 0;
    _sum.produced += account.produced;
    _sum.recorded += account.recorded;
    _sum.lost += account.lost;
    _sum.lives += account.lives;
    _sum.latestStartUs = std::max(_sum.latestStartUs, account.latestStartUs);
    for (const QString& fault : account.faults) {
        _fault(QStringLiteral("%1: %2").arg(QFileInfo(record.file).fileName(), fault));
    }
    if (account.faults.isEmpty()) {
        QFile::remove(record.file); // else it is there to be looked at
    }
}

// ---- measuring and judging ------------------------------------------------------------------------------------------

Sample Soak::_sample() const
{
    Sample sample;
    sample.seconds = _sinceCrowd.isValid() ? static_cast<double>(_sinceCrowd.elapsed()) / 1'000.0 : 0.0;
    sample.arrivals = _arrived;
    sample.alive = _alive;
    sample.holdings = { Holding::of(_host.processId()), Holding::of(_recorder), Holding::of(_launcher.processId()),
        Holding::of(_crowd.processId()) };
    QDirIterator files(_path(QStringLiteral("data/qnyRecorder")), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        sample.storeBytes += files.nextFileInfo().size();
    }
    return sample;
}

void Soak::_measure()
{
    _curves.add(_sample());
    // While it lasts, too, for whoever does not want to wait.
    constexpr qsizetype OFTEN = 60;
    if (_curves.samples().size() % OFTEN == 0) {
        _curves.writeCsv(_path(QStringLiteral("curves.csv")));
        const Holding& host = _curves.samples().last().holdings[0];
        const Holding& recorder = _curves.samples().last().holdings[1];
        _say(QStringLiteral(
            "%1 s: %2 arrivals, %3 cycles, %4 records of %5 events, %6 lost; host %7 MB, recorder %8 MB; %9 faults")
                .arg(_curves.samples().last().seconds, 0, 'f', 0)
                .arg(_arrived)
                .arg(_cycles)
                .arg(_records)
                .arg(_sum.recorded)
                .arg(_sum.lost)
                .arg(static_cast<double>(host.privateBytes) / MEGA, 0, 'f', 1)
                .arg(static_cast<double>(recorder.privateBytes) / MEGA, 0, 'f', 1)
                .arg(_faults.size() + _moreFaults));
    }
}

// What the programs wrote. A recorder says that it does not replay who is there itself, and that it closes the record
// of one that was killed.
void Soak::_readLogs()
{
    static const QRegularExpression bad(QStringLiteral("(warning|error|critical)(:| )"));
    static const QRegularExpression expected(
        QStringLiteral("Not replayed( any more)?, because (it is|they are) on the network (itself|themselves)"
                       "|Every recorded agent is on the network itself"
                       "|was left open by a recorder that ended: it is closed now"));
    QStringList logs;
    for (const char* name : { "host", "crowd", "launcher" }) {
        logs.append(_path(QLatin1String(name) + QStringLiteral(".log")));
    }
    QDirIterator found(_path(QStringLiteral("state/logs")), QDir::Files, QDirIterator::Subdirectories);
    while (found.hasNext()) {
        logs.append(found.next());
    }
    for (const QString& log : logs) {
        QFile file(log);
        if (!file.open(QIODevice::ReadOnly)) {
            _fault(QStringLiteral("%1 cannot be read").arg(log));
            continue;
        }
        while (!file.atEnd()) {
            const QString line = QString::fromUtf8(file.readLine()).trimmed();
            if (line.contains(bad) && !line.contains(expected)) {
                _fault(QStringLiteral("%1: %2").arg(QFileInfo(log).fileName(), line));
            }
        }
    }
}

bool Soak::_judge()
{
    std::printf("\n%s\n", qPrintable(_curves.table()));
    for (const Curves::Growth& growth : _curves.growths()) {
        std::printf("%-9s %8.0f kB for 1000 arrivals over the second half (%.1f MB)\n", qPrintable(growth.program),
            growth.bytesPerArrival, growth.bytes / MEGA);
    }
    std::printf(
        "%d records, %d of them of a recorder that was killed: %lld events of %lld stays recorded, %lld reported "
        "lost; of those that came meanwhile the last was heard of after %.0f ms\n",
        _records, _killedRecords, static_cast<long long>(_sum.recorded), static_cast<long long>(_sum.lives),
        static_cast<long long>(_sum.lost), static_cast<double>(_sum.latestStartUs) / 1e3);
    if (!_curves.writeCsv(_path(QStringLiteral("curves.csv")))
        || !_curves.writeSvg(_path(QStringLiteral("curves.svg")))) {
        _fault(QStringLiteral("the curves cannot be written"));
    }
    for (const QString& fault : _curves.faults(_options.bounds)) {
        _fault(fault);
    }
    if (_records == 0 || _sum.recorded == 0 || _killedRecords == 0) {
        _fault(QStringLiteral("too little was recorded to tell anything"));
    }
    if (_moreFaults > 0) {
        std::printf("and %d more that are not shown\n", _moreFaults);
    }
    const bool isGood = _faults.isEmpty();
    std::printf("curves are in %s\n", qPrintable(_path(QStringLiteral("curves.csv and curves.svg"))));
    std::printf("soak: %d arrivals, %d cycles: %s\n", _arrived, _cycles,
        isGood ? "memory, descriptors and threads are flat, every event is explained"
               : qPrintable(QStringLiteral("%1 faults").arg(_faults.size() + _moreFaults)));
    std::fflush(stdout);
    return isGood;
}

void Soak::_fault(const QString& what)
{
    if (_faults.size() >= FAULTS_SHOWN) {
        ++_moreFaults;
        return;
    }
    _faults.append(what);
    _say(QStringLiteral("fault: ") + what);
}

void Soak::_say(const QString& text) const
{
    std::printf("%s\n", qPrintable(text));
    std::fflush(stdout);
}

} // namespace soak
