// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QObject>
#include <QPointF>

class EncounteredAgentInfo;
class EncounteredAgentsOnHost;
class Host;
class RunningAgentInfo;
class SystemView;
class SystemViewBaseInstance;

/// Edits what stands in the views on behalf of pages. One for the process, on the main thread.
class CORVANE_EXPORT SystemViewManager : public QObject
{
    Q_OBJECT
    Q_MOC_INCLUDE("encounteredagentinfo.h")
    Q_MOC_INCLUDE("encounteredagentsonhost.h")
    Q_MOC_INCLUDE("runningagentinfo.h")
    Q_MOC_INCLUDE("systemviewbaseinstance.h")
    /// Why the last operation asked for was refused, in a sentence for the user; emptied by the next that is not.
    Q_PROPERTY(QString problem READ problem NOTIFY problemChanged)

public:
    static SystemViewManager* instance();

    QString problem() const;

    /// A point inside what is on screen of the view (by default the current one), in the view's units.
    QPointF randomInitialPositionInViewport(SystemView* systemView = nullptr) const;

    /// Gives an instance a new name, cleaned as CorvaneUtils::cleanAgentName() does, and rewrites `--name` in its
    /// launch lines. False, with problem(), while an agent of it runs (mappings and the end of a replay go by name), or
    /// when the name is empty or taken in its view: nothing is changed then.
    Q_INVOKABLE bool updateInstanceName(SystemViewBaseInstance* instance, const QString& name);

    /// Stores a launch line, without an undo step. `updateName`: the instance takes over the `--name` of the line, as
    /// by updateInstanceName(); when that is refused, the line is not stored either.
    void udapteEncounteredAgentInfoCommandLineNoUndoRedo(SystemViewBaseInstance* instance,
        EncounteredAgentsOnHost* group, EncounteredAgentInfo* info, const QString& commandLine, bool updateName);

    /// Starts an agent: here as a process of its own, elsewhere through its machine's launcher. False, with problem(),
    /// when the program is missing or the machine has no launcher. True says that it was started or asked for; that it
    /// runs is seen on the network.
    Q_INVOKABLE bool startAgent(EncounteredAgentInfo* info);

    /// Has an agent that no longer answers ended by its machine's launcher, which does so only to what it started: the
    /// one that is seen running or, when there is none, the one that was started by the launch line. False, with
    /// problem(), when the launcher cannot be asked.
    Q_INVOKABLE bool endAgent(RunningAgentInfo* runningAgentInfo, EncounteredAgentInfo* info);

    /// Tells the user, in a sentence, of a problem that is none of the operations above.
    void raiseProblem(const QString& message);

Q_SIGNALS:
    void problemChanged();
    /// Each time something is refused or raised, also when the text is the same as before.
    void problemRaised(const QString& message);

private:
    friend class SystemViewClassInstance;
    friend class SystemDocumentHandler;
    SystemViewManager();
    ~SystemViewManager() override;

    bool _refuse(const QString& message);
    void _accept();
    void _askLauncher(EncounteredAgentInfo* info);
    static QString _launcherProblem(const Host* host);

    QString _problem;
};
