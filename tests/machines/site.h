// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "virtualnetwork.h"

#include <hostapplication.h>
#include <sampleplant.h>

#include <objecthandle.h>
#include <observerprocess.h>
#include <recordcheck.h>
#include <recordfile.h>

#include <QtCore/QDateTime>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <functional>

class SystemViewClassInstance;

/// The sample system spread over three machines: this process is the host's, in the second a launcher starts the
/// recorder, and the plant runs in the third. Each step returns when what it is for has come, or says what did not;
/// empty is good. The host's machine has to be moved into before this is made.
class Site
{
public:
    static inline const QString HOST = QStringLiteral("control-room");
    static inline const QString RECORDER = QStringLiteral("pump-house");
    static inline const QString PLANT = QStringLiteral("water-works");
    /// How long a step may take on a busy machine.
    static constexpr int PATIENCE_MS = 30'000;
    /// Beyond what docs/several-machines.md promises there is no excuse: from a link's return until everything is found
    /// again.
    static constexpr int FOUND_AGAIN_MS = 10'000;

    explicit Site(VirtualNetwork& network)
        : _network(network)
    {
    }
    ~Site();
    Q_DISABLE_COPY_MOVE(Site)

    QString startHost();

    /// How processes find one another: what every one of them has in its environment.
    struct Way
    {
        QString device;
        QString peers;
        QString listen;
        bool isSecured = false; // the recorder's machine has a certificate of its own, the others share one
    };
    QString join(const Way& way);

    QString startLauncher();
    void stopLauncher();
    QString startPlant();
    QString stopPlant(); // reads what its agents published
    /// How many of the plant's agents the host knows.
    int plantAgentsSeen() const;
    /// An agent on the host's machine maps an output of each of the plant's agents.
    QString watchPlant();
    bool isPlantWatched(); // by every mapping
    /// Until each of the plant's agents published something that reached it, after this moment.
    QString seePlantAfter(qint64 us);
    void stopWatching() { _observer.reset(); }
    /// The recorder's machine ends all that runs on it.
    void losePower();

    QString addRecorder();
    QString connectRecorder();
    QString disconnectRecorder();

    QString startRecording();
    QString recordFor(double seconds);
    /// The plant, from its start.
    QString recordPlant(double seconds);
    QString stopRecording();
    /// What was recorded until the recorder's machine lost its power.
    QString findRecordCutShort() { return _awaitNewRecord(); }

    /// What a list that came anew has of it.
    QString findRecordAgain();
    QString beginLoad();
    QString load();
    QString play(double speed);
    QString playToItsEnd(double speed);
    QString unload();
    QString beginDownload(const QString& fileName);
    QString download(const QString& fileName);
    /// Under the name of the file.
    QString beginImport(const QString& fileName, const QByteArray& content);
    /// The file that an export of the record of that name is.
    QString downloadImport(const QString& name, QByteArray* content);

    /// The downloaded record against what the plant's agents say that they published: all of it, unaltered.
    QString checkDownload(const QString& fileName);
    /// The same after an outage: all of it, or it says how much it lost, and who had not been met again by its end.
    enum class AtTheEnd
    {
        SomeAreAway,
        AllAreBack
    };
    QString checkLosses(const QString& fileName, AtTheEnd atTheEnd = AtTheEnd::SomeAreAway);
    /// The recording's end, then the plant's, and what was downloaded into that file.
    QString stopAndCheckLosses(const QString& fileName);

    /// Empty when no page waits for an answer, else for which.
    QString waitingFor() const;
    bool isTold(const QString& pattern) const;
    bool hasLauncher() const;
    bool isOn() const { return instance.isTrue("isOn"); }
    QString path(const QString& fileName) const { return _folder.filePath(fileName); }

    HostApplication host;
    tour::ObjectHandle module;
    tour::ObjectHandle instance;
    tour::ObjectHandle record; // the last one made

private:
    /// Maps these outputs ("agent/output/type").
    QString _observe(const QStringList& maps);
    QString _await(const char* what, const std::function<bool()>& condition) const;
    QProcessEnvironment _environment(const QString& machine) const;
    QString _chooseSpeed(double speed);
    QString _awaitNewRecord(); // of what was recorded last
    QString _certificate(const QString& machine) const;
    QString _makeCertificates() const;

    VirtualNetwork& _network;
    QTemporaryDir _folder;
    Way _way;
    quint16 _port = 0;
    QDateTime _recordedAt; // by which a record is known
    std::unique_ptr<QProcess> _launcher;
    std::unique_ptr<SamplePlant> _plant;
    std::unique_ptr<tour::ObserverProcess> _observer;
    qsizetype _observed = 0; // how many outputs it maps
    int _plantRuns = 0;
    SystemViewClassInstance* _classInstance = nullptr;
    tour::Journal _journal;
    tour::RecordingWindow _window;
};
