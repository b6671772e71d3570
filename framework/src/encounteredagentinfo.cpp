// SPDX-License-Identifier: Apache-2.0
#include "encounteredagentinfo.h"

#include "documentkeys.h"
#include "encounteredagentsonhost.h"
#include "host.h"

#include <zqproperty.h>

#include <QFileInfo>
#include <QStandardPaths>
#include <QUuid>

namespace {

bool isProgramHere(const QString& program)
{
    const QFileInfo file(program);
    return file.isAbsolute() ? file.isFile() && file.isExecutable()
                             : !QStandardPaths::findExecutable(program).isEmpty();
}

} // namespace

EncounteredAgentInfo::EncounteredAgentInfo(
    const QString& uuid, const QString& commandLine, EncounteredAgentsOnHost* group)
    : QObject(group)
    , _uuid(uuid.isEmpty() ? QUuid::createUuid().toString(QUuid::WithoutBraces) : uuid)
    , _commandLine(commandLine)
    , _splitCommandLine(commandLine)
    , _group(group)
{
    Q_ASSERT(group);
    connect(
        group, &EncounteredAgentsOnHost::isAttachedToCorvaneChanged, this, &EncounteredAgentInfo::updateCanBeLaunched);
    connect(group, &EncounteredAgentsOnHost::hostHasLauncherChanged, this, &EncounteredAgentInfo::updateCanBeLaunched);
    updateCanBeLaunched();
}

EncounteredAgentInfo::~EncounteredAgentInfo() = default;

QString EncounteredAgentInfo::uuid() const
{
    return _uuid;
}

QString EncounteredAgentInfo::commandLine() const
{
    return _commandLine;
}

const SplitCommandLine& EncounteredAgentInfo::splitCommandLine() const
{
    return _splitCommandLine;
}

bool EncounteredAgentInfo::canBeLaunched() const
{
    return _canBeLaunched;
}

EncounteredAgentsOnHost* EncounteredAgentInfo::group() const
{
    return _group;
}

QString EncounteredAgentInfo::broughtBy() const
{
    return _broughtBy;
}

void EncounteredAgentInfo::setbroughtBy(const QString& publicKey)
{
    _broughtBy = publicKey;
}

void EncounteredAgentInfo::setcommandLine(const QString& commandLine)
{
    if (!ZqProperty::assign(_commandLine, commandLine)) {
        return;
    }
    _splitCommandLine = SplitCommandLine(commandLine);
    Q_EMIT commandLineChanged();
    updateCanBeLaunched();
}

QJsonObject EncounteredAgentInfo::exportToJson() const
{
    QJsonObject json = _otherKeys;
    json[DocumentKeys::UUID] = _uuid;
    json[DocumentKeys::COMMAND_LINE] = _commandLine;
    if (!_broughtBy.isEmpty()) {
        json[DocumentKeys::BROUGHT_BY] = _broughtBy;
    }
    return json;
}

void EncounteredAgentInfo::updateCanBeLaunched()
{
    bool canBeLaunched = false;
    if (!_splitCommandLine.isEmpty() && !_splitCommandLine.hasMaskedValue()) {
        const Host* host = _group->host();
        canBeLaunched = _group->isAttachedToCorvane() ? isProgramHere(_splitCommandLine.parts().constFirst())
                                                      : host != nullptr && host->hasLauncher();
    }
    ZqProperty::assign(this, _canBeLaunched, canBeLaunched, &EncounteredAgentInfo::canBeLaunchedChanged);
}
