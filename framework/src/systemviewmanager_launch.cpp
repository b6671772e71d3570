// SPDX-License-Identifier: Apache-2.0
#include "encounteredagentinfo.h"
#include "encounteredagentsonhost.h"
#include "host.h"
#include "launchers.h"
#include "runningagentinfo.h"
#include "systemdocumenthandler.h"
#include "systemviewmanager.h"

#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

QString SystemViewManager::_launcherProblem(const Host* host)
{
    if (host != nullptr && host->hasLauncher()) {
        return {};
    }
    return tr("Nothing starts agents on %1: start qnyLauncher on that machine, on this network.")
        .arg(host == nullptr ? tr("an unknown machine") : host->networkName());
}

bool SystemViewManager::startAgent(EncounteredAgentInfo* info)
{
    if (info == nullptr) {
        return _refuse(tr("There is no launch line to start: enter one first."));
    }
    const QStringList& parts = info->splitCommandLine().parts();
    if (parts.isEmpty()) {
        return _refuse(tr("The launch line is empty: enter the program and its options first."));
    }
    if (info->splitCommandLine().hasMaskedValue()) {
        return _refuse(
            tr("The launch line holds a hidden password (%1), as the network shows it: enter the real one first.")
                .arg(SplitCommandLine::MASKED_VALUE));
    }
    if (!info->group()->isAttachedToCorvane()) {
        QString problem = _launcherProblem(info->group()->host());
        if (problem.isEmpty()) {
            problem = Launchers::instance()->problemOf(info);
        }
        if (!problem.isEmpty()) {
            return _refuse(problem);
        }
        _accept();
        Q_EMIT SystemDocumentHandler::instance()->startAgentRequested(info);
        return _problem.isEmpty();
    }
    const QString program = QFileInfo(parts.constFirst()).isAbsolute()
        ? parts.constFirst()
        : QStandardPaths::findExecutable(parts.constFirst());
    if (program.isEmpty() || !QFileInfo::exists(program)) {
        return _refuse(tr("%1 was not found on this machine: correct the launch line, or install the program.")
                .arg(parts.constFirst()));
    }
    if (!QProcess::startDetached(program, parts.mid(1))) {
        return _refuse(tr("%1 could not be started: check that it may be run.").arg(program));
    }
    _accept();
    return true;
}

bool SystemViewManager::endAgent(RunningAgentInfo* runningAgentInfo, EncounteredAgentInfo* info)
{
    const Host* host = nullptr;
    if (runningAgentInfo != nullptr) {
        host = runningAgentInfo->host();
        info = nullptr; // its process is known
    } else if (info != nullptr) {
        host = info->group()->host();
    }
    QString problem = _launcherProblem(host);
    if (problem.isEmpty()) {
        problem = Launchers::askToEnd(
            host->launcherUuid(), info, runningAgentInfo == nullptr ? 0 : runningAgentInfo->processId());
    }
    if (!problem.isEmpty()) {
        return _refuse(problem);
    }
    _accept();
    return true;
}

void SystemViewManager::_askLauncher(EncounteredAgentInfo* info)
{
    if (info == nullptr) {
        return;
    }
    QString problem = _launcherProblem(info->group()->host());
    if (problem.isEmpty()) {
        problem = Launchers::askToStart(info);
    }
    if (!problem.isEmpty()) {
        _refuse(problem);
    }
}
