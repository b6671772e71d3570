// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_SAMPLEPLANT_H
#define CORVANE_SAMPLEPLANT_H

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>
#include <vector>

class QProcess;

struct SamplePlantOptions
{
    QString agentsDirectory; // where the qnySample… programs are
    QString device; // handed to each agent; empty: the environment's
    quint16 port = 0; // 0: the environment's
    QString peers;
    QString journalDirectory; // made when missing; empty: no journals
    quint64 seed = 1; // the same seed, the same schedule of the operator
};

// The small water plant of sample agents (two pumps, a tank, a valve, a controller, an operator) as child processes of
// the host. They end with this object, and also when the host dies without ending them. Main thread only.
class SamplePlant : public QObject
{
    Q_OBJECT

public:
    explicit SamplePlant(QObject* parent = nullptr);
    ~SamplePlant() override;

    // Starts every agent and waits until each runs as a process (being seen on the network takes a moment more). False
    // with a sentence in *error when a program is missing or fails; none is left running then. Journals of an earlier
    // start are appended to, so that stop and start leave one whole journal (sequences begin again at 1).
    // True and no effect when it runs already.
    bool start(const SamplePlantOptions& options, QString* error);
    // Asks every agent to end (SIGTERM), waits for all of them, and kills what is left after the time.
    void stop(int timeoutMs = 5000);
    // True while at least one agent runs.
    bool isRunning() const;

    // "Pump A", "Pump B", "Tank", "Valve", "Controller", "Operator".
    static QStringList agentNames();
    // Programs that are not in the directory; empty when the plant can be started.
    static QStringList missingPrograms(const QString& agentsDirectory);
    // "<journal directory>/<agent name>.journal".
    static QString journalFile(const QString& journalDirectory, const QString& agentName);

Q_SIGNALS:
    void runningChanged();
    // An agent ended though nobody asked it to; the reason is what it said on standard error, or its exit status.
    void agentFailed(const QString& agentName, const QString& reason);

private:
    struct Child
    {
        QString agentName;
        std::unique_ptr<QProcess> process;
        QByteArray lastWords; // on standard error
    };
    void _onChildSpoke(QProcess* process);
    void _onChildEnded(QProcess* process);

    std::vector<Child> _children;
    bool _isStopping = false;
};

#endif
