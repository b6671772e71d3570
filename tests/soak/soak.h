// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_SOAK_SOAK_H
#define TESTS_SOAK_SOAK_H

#include "curves.h"
#include "ledger.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QProcess>
#include <QtCore/QTimer>

namespace soak {

struct SoakOptions
{
    QString folder; // everything is kept there; it is made, and must not hold a soak yet
    int seconds = 3600; // in which the crowd comes
    int arrivals = 10'000;
    QString endpoint = QStringLiteral("embedded:9042"); // empty: CSV files
    // Of a length to which the numbers of the short form fit; longer when there is time.
    double recordSeconds = 3.0;
    int mostStayMs = 1'200;
    int sampleMs = 500;
    // In the first seconds a window and its pages still fill their stores of what they have drawn.
    Bounds bounds { .bytesWhatever = 16e6 };

    // Programs of this build.
    QString hostProgram;
    QString crowdProgram;
    QString launcherProgram;
    QString recorderProgram;
};

// One soak: starts launcher, host and crowd, follows what they say, measures them all the time, and judges. It ends
// what it started.
class Soak : public QObject
{
public:
    explicit Soak(const SoakOptions& options);
    ~Soak() override;

    // Spins the event loop until it is over; true when everything is as it should be. Prints as it goes.
    bool run();

private:
    enum class Phase
    {
        Warming,
        Resting, // before the crowd comes: what is held then is what is compared with
        Crowded,
        Leaving, // the crowd has gone, the host does everything once more
        Over
    };

    bool _start(QProcess& process, const QString& program, const QStringList& arguments, const QString& name);
    void _writeLauncherConfiguration() const;
    void _onHostLine(const QByteArray& line);
    void _onCrowdLine(const QByteArray& line);
    void _onRecord(const QByteArray& json);
    void _measure();
    Sample _sample() const;
    void _enter(Phase phase);
    void _onSettled();
    void _stopAll();
    void _readLogs();
    bool _judge();
    void _fault(const QString& what);
    void _say(const QString& text) const;
    QString _path(const QString& name) const { return _options.folder + QLatin1Char('/') + name; }

    SoakOptions _options;
    QProcess _launcher;
    QProcess _host;
    QProcess _crowd;
    QEventLoop* _loop = nullptr;
    QTimer _measuring;
    QTimer _settling;
    QTimer _patience;
    QElapsedTimer _sinceCrowd;
    Phase _phase = Phase::Warming;
    qint64 _recorder = 0; // the process of the one that is watched
    int _arrived = 0;
    int _alive = 0;
    int _cycles = 0;

    Curves _curves;
    Ledger _ledger;
    Account _sum;
    int _records = 0;
    int _killedRecords = 0;
    QStringList _faults;
    int _moreFaults = 0;
};

} // namespace soak

#endif
