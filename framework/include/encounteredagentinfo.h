// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"
#include "splitcommandline.h"

#include <QJsonObject>
#include <QObject>

class EncounteredAgentsOnHost;

/// A launch command line of a class instance on one machine, kept in the document. Owned by its group.
class CORVANE_EXPORT EncounteredAgentInfo : public QObject
{
    Q_OBJECT
    Q_MOC_INCLUDE("encounteredagentsonhost.h")
    /// Without braces; kept in the document from one run to the next.
    Q_PROPERTY(QString uuid READ uuid CONSTANT)
    Q_PROPERTY(QString commandLine READ commandLine NOTIFY commandLineChanged)
    /// The group's machine can start it from here: this machine has the program, or another one has a launcher; and no
    /// value in the line is masked.
    Q_PROPERTY(bool canBeLaunched READ canBeLaunched NOTIFY canBeLaunchedChanged)
    Q_PROPERTY(EncounteredAgentsOnHost* group READ group CONSTANT)

public:
    /// An empty uuid makes a fresh one.
    EncounteredAgentInfo(const QString& uuid, const QString& commandLine, EncounteredAgentsOnHost* group);
    ~EncounteredAgentInfo() override;

    QString uuid() const;
    QString commandLine() const;
    /// The same, taken apart for comparing it with others.
    const SplitCommandLine& splitCommandLine() const;
    bool canBeLaunched() const;
    EncounteredAgentsOnHost* group() const;

    /// The public key, in Z85, of the process that brought the line from another machine of a secured network, as long
    /// as nobody has vouched for it: a person by changing it, or that machine's launcher by having the same key. Empty
    /// otherwise.
    QString broughtBy() const;
    void setbroughtBy(const QString& publicKey);

    /// Stores the line as it is. Pages go through SystemViewManager, which also marks the document as modified.
    void setcommandLine(const QString& commandLine);

    QJsonObject exportToJson() const;

public Q_SLOTS:
    /// Looks again at the program, the launcher and the line.
    void updateCanBeLaunched();

Q_SIGNALS:
    void commandLineChanged();
    void canBeLaunchedChanged();

private:
    friend class SystemViewClassInstance;
    const QString _uuid;
    QString _commandLine;
    SplitCommandLine _splitCommandLine;
    QString _broughtBy;
    EncounteredAgentsOnHost* const _group; // the parent, which outlives this
    bool _canBeLaunched = false;
    QJsonObject _otherKeys; // written back as they were read
};
