// SPDX-License-Identifier: Apache-2.0
#include "sampleplant.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QProcess>
#include <QtCore/QProcessEnvironment>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

struct PlantAgent
{
    QString name;
    QString program;
    QStringList arguments; // beside --name
};

const QList<PlantAgent>& plantAgents()
{
    static const QList<PlantAgent> agents {
        { QStringLiteral("Pump A"), QStringLiteral("qnySamplePump"),
            { QStringLiteral("--line"), QStringLiteral("a") } },
        { QStringLiteral("Pump B"), QStringLiteral("qnySamplePump"),
            { QStringLiteral("--line"), QStringLiteral("b") } },
        { QStringLiteral("Tank"), QStringLiteral("qnySampleTank"), {} },
        { QStringLiteral("Valve"), QStringLiteral("qnySampleValve"), {} },
        { QStringLiteral("Controller"), QStringLiteral("qnySampleController"), {} },
        { QStringLiteral("Operator"), QStringLiteral("qnySampleOperator"), {} },
    };
    return agents;
}

void setError(QString* error, const QString& text)
{
    if (error) {
        *error = text;
    }
}

} // namespace

SamplePlant::SamplePlant(QObject* parent)
    : QObject(parent)
{
}

SamplePlant::~SamplePlant()
{
    stop();
}

QStringList SamplePlant::agentNames()
{
    QStringList names;
    for (const PlantAgent& agent : plantAgents()) {
        names.append(agent.name);
    }
    return names;
}

QStringList SamplePlant::missingPrograms(const QString& agentsDirectory)
{
    QStringList missing;
    for (const PlantAgent& agent : plantAgents()) {
        const QString path = QDir(agentsDirectory).filePath(agent.program);
        if (!QFileInfo(path).isExecutable() && !missing.contains(path)) {
            missing.append(path);
        }
    }
    return missing;
}

QString SamplePlant::journalFile(const QString& journalDirectory, const QString& agentName)
{
    return QDir(journalDirectory).filePath(agentName + QStringLiteral(".journal"));
}

bool SamplePlant::start(const SamplePlantOptions& options, QString* error)
{
    if (isRunning()) {
        return true;
    }
    const QStringList missing = missingPrograms(options.agentsDirectory);
    if (!missing.isEmpty()) {
        setError(error,
            tr("The sample plant cannot start: %1 is missing. Build or install the sample agents.")
                .arg(missing.first()));
        return false;
    }
    if (!options.journalDirectory.isEmpty() && !QDir().mkpath(options.journalDirectory)) {
        setError(error, tr("The journals' folder %1 cannot be made.").arg(options.journalDirectory));
        return false;
    }

    // As with every launch line, device and port come through the environment: the agents' command lines then are the
    // same on every network.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (!options.device.isEmpty()) {
        environment.insert(QStringLiteral("QNY_DEVICE"), options.device);
    }
    if (options.port != 0) {
        environment.insert(QStringLiteral("QNY_PORT"), QString::number(options.port));
    }
    if (!options.peers.isEmpty()) {
        environment.insert(QStringLiteral("QNY_PEERS"), options.peers);
    }

    const pid_t hostProcess = getpid();
    for (const PlantAgent& agent : plantAgents()) {
        QStringList arguments { QStringLiteral("--name"), agent.name };
        arguments += agent.arguments;
        if (options.seed != 1) {
            arguments += { QStringLiteral("--seed"), QString::number(options.seed) };
        }
        if (!options.journalDirectory.isEmpty()) {
            arguments += { QStringLiteral("--journal"), journalFile(options.journalDirectory, agent.name) };
        }

        auto process = std::make_unique<QProcess>();
        process->setProcessEnvironment(environment);
        process->setStandardInputFile(QProcess::nullDevice());
        process->setStandardOutputFile(QProcess::nullDevice());
        // A host that is killed takes the plant with it.
        process->setChildProcessModifier([hostProcess] {
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            // 0: it is out of sight, in a container around this process's.
            if (const pid_t parent = getppid(); parent != hostProcess && parent != 0) {
                _exit(1);
            }
        });
        QProcess* child = process.get();
        connect(child, &QProcess::readyReadStandardError, this, [this, child] { _onChildSpoke(child); });
        connect(child, &QProcess::finished, this, [this, child] { _onChildEnded(child); });
        const QString program = QDir(options.agentsDirectory).filePath(agent.program);
        _children.push_back({ agent.name, std::move(process), {} });
        child->start(program, arguments);
        if (!child->waitForStarted()) {
            setError(error, tr("%1 does not start: %2.").arg(program, child->errorString()));
            stop();
            return false;
        }
    }
    Q_EMIT runningChanged();
    return true;
}

void SamplePlant::stop(int timeoutMs)
{
    if (_children.empty()) {
        return;
    }
    _isStopping = true;
    for (const Child& child : _children) {
        child.process->terminate();
    }
    QDeadlineTimer deadline(timeoutMs);
    for (const Child& child : _children) {
        if (child.process->state() != QProcess::NotRunning
            && !child.process->waitForFinished(static_cast<int>(deadline.remainingTime()))) {
            qWarning("%s did not end when asked to, and is killed.", qUtf8Printable(child.agentName));
            child.process->kill();
            child.process->waitForFinished();
        }
    }
    _children.clear();
    _isStopping = false;
    Q_EMIT runningChanged();
}

bool SamplePlant::isRunning() const
{
    return std::any_of(_children.begin(), _children.end(),
        [](const Child& child) { return child.process->state() != QProcess::NotRunning; });
}

// What an agent has to say is for whoever watches the host's own standard error too.
void SamplePlant::_onChildSpoke(QProcess* process)
{
    constexpr qsizetype mostKept = 2000;
    const QByteArray words = process->readAllStandardError();
    for (Child& child : _children) {
        if (child.process.get() == process && !words.isEmpty()) {
            std::fprintf(stderr, "%s: %s", qUtf8Printable(child.agentName), words.constData());
            child.lastWords = (child.lastWords + words).right(mostKept);
        }
    }
}

void SamplePlant::_onChildEnded(QProcess* process)
{
    if (_isStopping) {
        return;
    }
    for (const Child& child : _children) {
        if (child.process.get() != process) {
            continue;
        }
        // An agent that was asked to stop over the network ends with 0: that is nobody's failure.
        if (process->exitStatus() != QProcess::NormalExit || process->exitCode() != 0) {
            _onChildSpoke(process);
            QString reason = QString::fromUtf8(child.lastWords).trimmed();
            if (reason.isEmpty()) {
                reason = process->exitStatus() == QProcess::NormalExit
                    ? tr("it ended with status %1").arg(process->exitCode())
                    : tr("it crashed");
            }
            Q_EMIT agentFailed(child.agentName, reason);
        }
    }
    Q_EMIT runningChanged();
}
