// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "recordagentfilter.h"
#include "recorddates.h"

#include <speed.h>
#include <zqcustomitemlistmodel.h>

#include <QtCore/QDateTime>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>

/// The replay speeds that a loaded record offers, as factors of real time, and the one it starts with.
inline const QList<double> RECORD_SPEEDS { 0.5, 1.0, 2.0, 3.0, 4.0 };
inline constexpr double RECORD_DEFAULT_SPEED = 1.0;

/// The order of agent names everywhere: ascending, without regard to case.
bool record_compareAgents(const QString& left, const QString& right);

/// One recording that a recorder holds, or one CSV file loaded for replay.
///
/// It knows no protocol: its RecorderInstance creates it, changes it as the recorder answers and deletes it; the user
/// changes the check marks of its agents. Never owned by a QML engine. Main thread only.
class RecorderRecord : public QObject
{
    Q_OBJECT

    // ---- what was recorded -----------------------------------------------------------------------------------------

    Q_PROPERTY(QString name READ name NOTIFY nameChanged FINAL)
    /// Local time.
    Q_PROPERTY(QDateTime startDateTime READ startDateTime CONSTANT FINAL)
    /// Local time; invalid while the record has no end.
    Q_PROPERTY(QDateTime endDateTime READ endDateTime NOTIFY endDateTimeChanged FINAL)
    Q_PROPERTY(double durationInSeconds READ durationInSeconds NOTIFY durationInSecondsChanged FINAL)
    /// The recorder is still recording into this record.
    Q_PROPERTY(bool isRecording READ isRecording NOTIFY isRecordingChanged FINAL)

    // ---- its replay ------------------------------------------------------------------------------------------------

    /// The recorder holds the record ready for replay.
    Q_PROPERTY(bool isLoaded READ isLoaded NOTIFY isLoadedChanged FINAL)
    /// Position from the start of the record, never below 0.
    Q_PROPERTY(double replayProgressInSecond READ replayProgressInSecond NOTIFY replayProgressInSecondChanged FINAL)
    Q_PROPERTY(bool replayIsAtStart READ replayIsAtStart NOTIFY replayIsAtStartChanged FINAL)
    Q_PROPERTY(bool isReplaying READ isReplaying NOTIFY isReplayingChanged FINAL)

    // ---- its agents ------------------------------------------------------------------------------------------------

    /// The agents of the loaded record (RecordAgentFilter), sorted by name.
    Q_PROPERTY(AbstractZqCustomItemListModel* agentsFilters READ agentsFilters CONSTANT FINAL)
    /// Summary of the check marks. Writing it checks and unchecks nothing.
    Q_PROPERTY(Qt::CheckState agentsFilterState READ agentsFilterState WRITE setagentsFilterState NOTIFY
            agentsFilterStateChanged FINAL)
    /// The same summary in words.
    Q_PROPERTY(QString agentsFilterRecap READ agentsFilterRecap NOTIFY agentsFilterRecapChanged FINAL)

    // ---- its speed -------------------------------------------------------------------------------------------------

    /// The speeds to choose from (Speed).
    Q_PROPERTY(AbstractZqCustomItemListModel* speeds READ speeds CONSTANT FINAL)
    /// One of `speeds`, or null while the record is not loaded.
    Q_PROPERTY(Speed* speed READ speed NOTIFY speedChanged FINAL)

public:
    /// The duration is in microseconds.
    RecorderRecord(const QString& uuid, const QString& name, const QDateTime& startDateTime,
        const QDateTime& endDateTime, long long durationInMicroseconds, QObject* parent);
    RecorderRecord(const QString& uuid, const QString& name, const RecordDate& start, const RecordDate& end,
        long long durationInMicroseconds, QObject* parent);
    ~RecorderRecord() override;

    // ---- what was recorded -----------------------------------------------------------------------------------------

    /// The record's identity on the recorder; for a file, the id of its replay.
    const QString& uuid() const { return _uuid; }
    const QString& name() const { return _name; }
    QDateTime startDateTime() const { return _start.toDateTime(); }
    QDateTime endDateTime() const { return _end.toDateTime(); }
    /// As startDateTime(), without the cost of local time.
    const RecordDate& start() const { return _start; }
    double durationInSeconds() const { return _durationInSeconds; }
    bool isRecording() const { return _isRecording; }

    void setname(const QString& name);
    void setendDateTime(const QDateTime& endDateTime) { setend(endDateTime); }
    void setend(const RecordDate& end);
    void setdurationInSeconds(double durationInSeconds);
    void setisRecording(bool isRecording);

    // ---- its replay ------------------------------------------------------------------------------------------------

    bool isLoaded() const { return _isLoaded; }
    double replayProgressInSecond() const { return _replayProgressInSecond; }
    bool replayIsAtStart() const { return _replayIsAtStart; }
    bool isReplaying() const { return _isReplaying; }

    /// The recorder holds the record ready: offers its agents, all checked, and the speeds, at the default speed.
    void load(const QStringList& agents);

    /// The recorder no longer holds the record: no agents, no speeds, position at the start. Nothing while not loaded.
    void unload();

    /// Takes over a replay that the recorder reports: position in seconds, speed as a factor of real time, whether it
    /// plays, every agent of the record and those let through (none means all).
    void updateReplayContext(
        double progress, double speed, bool isReplaying, const QStringList& agents, const QStringList& activeAgents);

    /// Moves the position, in seconds; anything not above 0 is the start.
    void updateReplayProgress(double progress);
    void setreplayProgressInSecond(double progress);
    void setisLoaded(bool isLoaded);
    void setisReplaying(bool isReplaying);

    // ---- its agents ------------------------------------------------------------------------------------------------

    AbstractZqCustomItemListModel* agentsFilters() { return &_offer().agentsFilters; }
    Qt::CheckState agentsFilterState() const { return _agentsFilterState; }
    const QString& agentsFilterRecap() const { return _agentsFilterRecap; }
    void setagentsFilterState(Qt::CheckState agentsFilterState);

    /// The filter last sent to the recorder, sorted: tells whether the check marks changed since.
    const QStringList& lastActiveAgentsFilter() const { return _lastActiveAgentsFilter; }

    /// The names of the checked agents, sorted.
    QStringList getActiveAgentsFiltersAsStringList() const;

    /// Remembers the checked agents as the filter last sent, and returns their names.
    QStringList saveActiveAgentsFilters();

    // ---- its speed -------------------------------------------------------------------------------------------------

    AbstractZqCustomItemListModel* speeds() { return &_offer().speeds; }
    Speed* speed() const { return _speed; }

    /// Chooses a speed; null chooses none. Returns false, and does nothing, when it is the current one.
    bool updateSpeed(Speed* speed);

signals:
    void uuidChanged();
    void nameChanged();
    void endDateTimeChanged();
    void durationInSecondsChanged();
    void isRecordingChanged();
    void isLoadedChanged();
    void replayProgressInSecondChanged();
    void isReplayingChanged();
    void agentsFilterStateChanged();
    void agentsFilterRecapChanged();
    void lastActiveAgentsFilterChanged();
    void speedChanged();
    void replayIsAtStartChanged();

private slots:
    void _onspeedDestroyed(QObject* speed);
    void _updateAgentsFilterData();

private:
    /// What a loaded record offers to choose from.
    struct Offer
    {
        ZqCustomItemListModel<RecordAgentFilter> agentsFilters;
        ZqCustomItemListModel<Speed> speeds;
    };

    /// Makes it when it is first asked for: the two lists weigh more than all the rest of a record, and of a hundred
    /// thousand records few are ever loaded.
    Offer& _offer();
    QList<RecordAgentFilter*> _offeredAgents() const;
    void _watchAgents();
    void _countCheckedAgents();
    void _load(const QStringList& agents, bool updatesAgentsFilterData);
    void _setreplayIsAtStarted(bool replayIsAtStart);
    void _setlastActiveAgentsFilter(const QStringList& lastActiveAgentsFilter);
    Speed* _getSpeed(double value) const;
    Speed* _newSpeed(double value);

    const QString _uuid;
    QString _name;
    const RecordDate _start;
    RecordDate _end;
    double _durationInSeconds = 0.0;
    bool _isRecording = false;

    bool _isLoaded = false;
    double _replayProgressInSecond = 0.0;
    bool _replayIsAtStart = true;
    bool _isReplaying = false;

    std::unique_ptr<Offer> _madeOffer;
    Qt::CheckState _agentsFilterState = Qt::Unchecked;
    QString _agentsFilterRecap;
    /// Of the offered agents.
    qsizetype _checkedAgents = 0;
    QStringList _lastActiveAgentsFilter;
    Speed* _speed = nullptr;
};
