// SPDX-License-Identifier: Apache-2.0
#include "host.h"

Host::Host(const QString& networkName, QObject* parent)
    : QObject(parent)
    , _networkName(networkName)
{
}

Host::~Host() = default;

QString Host::networkName() const
{
    return _networkName;
}

bool Host::hasLauncher() const
{
    return !_launcherUuid.isEmpty();
}

QString Host::launcherUuid() const
{
    return _launcherUuid;
}

void Host::setlauncherUuid(const QString& launcherUuid)
{
    const bool hadLauncher = hasLauncher();
    _launcherUuid = launcherUuid;
    if (hasLauncher() != hadLauncher) {
        Q_EMIT hasLauncherChanged();
    }
}
