// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "configuration.h"
#include "request.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>

namespace launcher {

class Launch;

/// What a host is told of a launch; the words are those of quenary_launcher.h.
struct News
{
    QString launchUuid;
    QByteArray state;
    int number = 0;
    QString text;
    QString lastLines;
};

/// Takes requests, keeps account of the agents, and has news for hosts. Main thread.
class Launcher : public QObject
{
    Q_OBJECT

public:
    struct Places
    {
        QString launches; // a folder for each launch, below it
        QString logs; // the agents' output
        QString keeperProgram; // this program
    };
    /// Hosts, by the uuids of their agents: sends news to one, false when it has just left; and says whether one may
    /// now hear how agents end.
    using Tell = std::function<bool(const QByteArray& hostUuid, const News& news)>;
    using MayHear = std::function<bool(const QByteArray& hostUuid)>;

    Launcher(const Configuration& configuration, const Places& places, Tell tell, MayHear mayHear);
    ~Launcher() override;

    void setConfiguration(const Configuration& configuration);
    const Configuration& configuration() const { return _configuration; }

    /// Finds what an earlier launcher left: agents that run are taken over, the end of the others is told.
    void takeOver();
    void startAgent(Request request);
    /// By the uuid of its launch, or else by its process id.
    void stopAgent(const QString& launchUuid, int processId, const QByteArray& askerUuid, const QString& askerName);
    /// Hosts that are there. How an agent ended is told to the one that had it started and to those that asked to end
    /// it, and when the former has left, to all.
    void hostEntered(const QByteArray& uuid);
    void hostExited(const QByteArray& uuid);

    int runningCount() const;
    /// Asks every agent to end; allEnded() follows, at once when none runs.
    void endAll();

Q_SIGNALS:
    void allEnded();

private:
    struct Untold
    {
        QByteArray askerUuid;
        News news;
        QSet<QByteArray> enderUuids = {};
    };
    QString _folderOf(const QString& launchUuid) const;
    void _watch(const std::shared_ptr<Launch>& launch);
    void _onEnded(const QString& launchUuid);
    void _announce(const Untold& untold);
    bool _tellNow(const Untold& untold);
    void _tellSoon();
    void _refuse(const Request& request, const QString& why);
    void _removeOldLogs();

    Configuration _configuration;
    const Places _places;
    const Tell _tell;
    const MayHear _mayHear;
    QHash<QString, std::shared_ptr<Launch>> _launches; // by uuid, in lower case
    QHash<QString, QSet<QByteArray>> _enders; // of a launch: the hosts that asked to end it
    QSet<QByteArray> _hosts;
    QList<Untold> _untold;
    QTimer _tellLater;
    bool _isEnding = false;
};

} // namespace launcher
