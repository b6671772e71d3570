// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QObject>

/// A machine on which agents run or ran. Owned by its SystemDocument, and never removed from it.
class CORVANE_EXPORT Host : public QObject
{
    Q_OBJECT
    /// The name under which its agents show their machine. Unique in the document.
    Q_PROPERTY(QString networkName READ networkName CONSTANT)
    /// A launcher agent runs there now: agents can be started there from here.
    Q_PROPERTY(bool hasLauncher READ hasLauncher NOTIFY hasLauncherChanged)

public:
    explicit Host(const QString& networkName, QObject* parent = nullptr);
    ~Host() override;

    QString networkName() const;
    bool hasLauncher() const;
    /// The launcher agent's uuid, empty without one.
    QString launcherUuid() const;
    /// Called by the document as launchers come and go.
    void setlauncherUuid(const QString& launcherUuid);

Q_SIGNALS:
    void hasLauncherChanged();

private:
    const QString _networkName;
    QString _launcherUuid;
};
