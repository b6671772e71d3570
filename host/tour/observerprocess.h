// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_TOUR_OBSERVERPROCESS_H
#define CORVANE_TOUR_OBSERVERPROCESS_H

#include "observation.h"

#include <QtCore/QProcess>
#include <QtCore/QStringList>

namespace tour {

// The agent that watches the replays, as a child process. It ends with this object.
class ObserverProcess
{
public:
    ObserverProcess();
    ~ObserverProcess();

    // maps: "agent/output/type". It joins the network of the environment, as every agent that the host starts. False
    // with a sentence in *error when it does not come up within the time.
    bool start(const QString& program, const QString& rowsFile, const QStringList& maps, QString* error);
    // How many of the outputs feed it now.
    int liveMappings();
    bool isRunning() const { return _process.state() == QProcess::Running; }
    // Everything that it received until now; false with a sentence in *error.
    bool read(QList<Observation>* observations, QString* error) const;
    void stop();

private:
    void _readOutput();

    QProcess _process;
    QString _rowsFile;
    bool _isReady = false;
    int _liveMappings = 0;
};

} // namespace tour

#endif
