// SPDX-License-Identifier: Apache-2.0
#include "recorderrecord.h"

#include <zqproperty.h>

#include <QtCore/QDebug>
#include <QtCore/QSet>
#include <QtQml/QJSEngine>

#include <algorithm>

namespace {

/// Positions up to this many seconds are the start of a record.
constexpr double START_TOLERANCE = 1e-12;

QStringList sortedAgents(QStringList agents)
{
    std::stable_sort(agents.begin(), agents.end(), record_compareAgents);
    return agents;
}

} // namespace

bool record_compareAgents(const QString& left, const QString& right)
{
    return QString::compare(left, right, Qt::CaseInsensitive) < 0;
}

RecorderRecord::RecorderRecord(const QString& uuid, const QString& name, const QDateTime& startDateTime,
    const QDateTime& endDateTime, long long durationInMicroseconds, QObject* parent)
    : RecorderRecord(uuid, name, RecordDate(startDateTime), RecordDate(endDateTime), durationInMicroseconds, parent)
{
}

RecorderRecord::RecorderRecord(const QString& uuid, const QString& name, const RecordDate& start, const RecordDate& end,
    long long durationInMicroseconds, QObject* parent)
    : QObject(parent)
    , _uuid(uuid)
    , _name(name)
    , _start(start)
    , _end(end)
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
    setdurationInSeconds(static_cast<double>(durationInMicroseconds) / 1e6);
    _updateAgentsFilterData();
}

RecorderRecord::~RecorderRecord() = default;

RecorderRecord::Offer& RecorderRecord::_offer()
{
    if (!_madeOffer) {
        _madeOffer = std::make_unique<Offer>();
        _watchAgents();
    }
    return *_madeOffer;
}

QList<RecordAgentFilter*> RecorderRecord::_offeredAgents() const
{
    return _madeOffer ? _madeOffer->agentsFilters.toList() : QList<RecordAgentFilter*>();
}

void RecorderRecord::setname(const QString& name)
{
    ZqProperty::assign(this, _name, name, &RecorderRecord::nameChanged);
}

void RecorderRecord::setend(const RecordDate& end)
{
    ZqProperty::assign(this, _end, end, &RecorderRecord::endDateTimeChanged);
}

void RecorderRecord::setdurationInSeconds(double durationInSeconds)
{
    ZqProperty::assign(this, _durationInSeconds, durationInSeconds, &RecorderRecord::durationInSecondsChanged);
}

void RecorderRecord::setisRecording(bool isRecording)
{
    ZqProperty::assign(this, _isRecording, isRecording, &RecorderRecord::isRecordingChanged);
}

void RecorderRecord::setisLoaded(bool isLoaded)
{
    ZqProperty::assign(this, _isLoaded, isLoaded, &RecorderRecord::isLoadedChanged);
}

void RecorderRecord::setisReplaying(bool isReplaying)
{
    ZqProperty::assign(this, _isReplaying, isReplaying, &RecorderRecord::isReplayingChanged);
}

void RecorderRecord::setagentsFilterState(Qt::CheckState agentsFilterState)
{
    ZqProperty::assign(this, _agentsFilterState, agentsFilterState, &RecorderRecord::agentsFilterStateChanged);
}

void RecorderRecord::_setreplayIsAtStarted(bool replayIsAtStart)
{
    ZqProperty::assign(this, _replayIsAtStart, replayIsAtStart, &RecorderRecord::replayIsAtStartChanged);
}

void RecorderRecord::_setlastActiveAgentsFilter(const QStringList& lastActiveAgentsFilter)
{
    ZqProperty::assign(
        this, _lastActiveAgentsFilter, lastActiveAgentsFilter, &RecorderRecord::lastActiveAgentsFilterChanged);
}

void RecorderRecord::load(const QStringList& agents)
{
    _load(agents, true);
}

void RecorderRecord::_load(const QStringList& agents, bool updatesAgentsFilterData)
{
    setisLoaded(true);
    if (!_isLoaded) {
        // Who heard of it unloaded the record at once.
        return;
    }

    const QStringList sorted = sortedAgents(agents);
    _offer().agentsFilters.deleteAllItems();
    QList<RecordAgentFilter*> filters;
    filters.reserve(sorted.size());
    for (const QString& agent : sorted) {
        filters.append(new RecordAgentFilter(agent, this));
    }
    _offer().agentsFilters.appendRows(filters);

    // Everything is active after a load.
    _setlastActiveAgentsFilter(sorted);
    if (updatesAgentsFilterData) {
        _updateAgentsFilterData();
    }

    updateSpeed(nullptr);
    _offer().speeds.deleteAllItems();
    QList<Speed*> speeds;
    speeds.reserve(RECORD_SPEEDS.size());
    for (const double value : RECORD_SPEEDS) {
        speeds.append(_newSpeed(value));
    }
    _offer().speeds.appendRows(speeds);

    Speed* const defaultSpeed = _getSpeed(RECORD_DEFAULT_SPEED);
    if (!defaultSpeed) {
        qWarning() << "RECORD_DEFAULT_SPEED is not used in RECORD_SPEEDS";
        return;
    }
    updateSpeed(defaultSpeed);
}

void RecorderRecord::unload()
{
    if (!_isLoaded) {
        return;
    }
    setisLoaded(false);
    if (_isLoaded) {
        // Who heard of it loaded the record again.
        return;
    }
    setisReplaying(false);
    if (_replayProgressInSecond != 0.0) {
        _replayProgressInSecond = 0.0;
        _setreplayIsAtStarted(true);
        emit replayProgressInSecondChanged();
    }
    _setlastActiveAgentsFilter({});
    _offer().agentsFilters.deleteAllItems();
    _updateAgentsFilterData();
    updateSpeed(nullptr);
    _offer().speeds.deleteAllItems();
}

void RecorderRecord::updateReplayContext(
    double progress, double speed, bool isReplaying, const QStringList& agents, const QStringList& activeAgents)
{
    _load(agents, false);
    if (!_isLoaded) {
        return;
    }

    if (!activeAgents.isEmpty()) {
        const QStringList sorted = sortedAgents(activeAgents);
        _setlastActiveAgentsFilter(sorted);
        const QSet<QString> active(sorted.cbegin(), sorted.cend());
        const QList<RecordAgentFilter*> filters = _offeredAgents();
        for (RecordAgentFilter* filter : filters) {
            if (!active.contains(filter->name())) {
                filter->setchecked(false);
            }
        }
    }
    _updateAgentsFilterData();

    setisReplaying(isReplaying);
    setreplayProgressInSecond(progress);

    Speed* item = _getSpeed(speed);
    if (!item) {
        // Another client of the recorder chose a speed that the module does not offer: it is shown all the same.
        item = _newSpeed(speed);
        _offer().speeds.appendRow(item);
    }
    updateSpeed(item);
}

void RecorderRecord::updateReplayProgress(double progress)
{
    setreplayProgressInSecond(progress);
}

void RecorderRecord::setreplayProgressInSecond(double progress)
{
    if (!ZqProperty::assign(_replayProgressInSecond, progress > 0.0 ? progress : 0.0)) {
        return;
    }
    _setreplayIsAtStarted(_replayProgressInSecond <= START_TOLERANCE);
    emit replayProgressInSecondChanged();
}

QStringList RecorderRecord::getActiveAgentsFiltersAsStringList() const
{
    QStringList agents;
    const QList<RecordAgentFilter*> filters = _offeredAgents();
    for (const RecordAgentFilter* filter : filters) {
        if (filter->checked()) {
            agents.append(filter->name());
        }
    }
    return sortedAgents(agents);
}

QStringList RecorderRecord::saveActiveAgentsFilters()
{
    const QStringList agents = getActiveAgentsFiltersAsStringList();
    _setlastActiveAgentsFilter(agents);
    return agents;
}

// Pages have the list as well, so that it is the list that tells which agents are offered.
void RecorderRecord::_watchAgents()
{
    using Model = QAbstractItemModel;
    const auto* const agents = &_madeOffer->agentsFilters;
    connect(agents, &Model::rowsInserted, this, [this, agents](const QModelIndex&, int first, int last) {
        for (int row = first; row <= last; ++row) {
            const RecordAgentFilter* const filter = agents->at(row);
            connect(filter, &RecordAgentFilter::checkedChanged, this, [this, filter] {
                _checkedAgents += filter->checked() ? 1 : -1;
                _updateAgentsFilterData();
            });
        }
        _countCheckedAgents();
    });
    // What becomes of those that leave counts no more: they may be deleted later, or live on elsewhere.
    connect(agents, &Model::rowsAboutToBeRemoved, this, [this, agents](const QModelIndex&, int first, int last) {
        for (int row = first; row <= last; ++row) {
            if (const QObject* const agent = agents->itemAt(row)) { // null for one that is being destroyed
                disconnect(agent, nullptr, this, nullptr);
            }
        }
    });
    connect(agents, &Model::rowsRemoved, this, &RecorderRecord::_countCheckedAgents);
}

void RecorderRecord::_countCheckedAgents()
{
    const QList<RecordAgentFilter*> filters = _offeredAgents();
    _checkedAgents = std::count_if(
        filters.cbegin(), filters.cend(), [](const RecordAgentFilter* filter) { return filter->checked(); });
}

// After every check mark: of many agents, whose marks may change one after another, each is not looked at every time.
void RecorderRecord::_updateAgentsFilterData()
{
    const qsizetype agentCount = _madeOffer ? _madeOffer->agentsFilters.size() : 0;
    Qt::CheckState state = Qt::Checked;
    QString recap;
    if (agentCount == 0) {
        recap = tr("No agent on record");
    } else if (_checkedAgents == agentCount) {
        recap = tr("All agents");
    } else if (_checkedAgents == 0) {
        state = Qt::Unchecked;
        recap = tr("No agent selected");
    } else {
        state = Qt::PartiallyChecked;
        recap
            = _checkedAgents == 1 ? getActiveAgentsFiltersAsStringList().value(0) : tr("%1 agents").arg(_checkedAgents);
    }
    setagentsFilterState(state);
    ZqProperty::assign(this, _agentsFilterRecap, recap, &RecorderRecord::agentsFilterRecapChanged);
}

bool RecorderRecord::updateSpeed(Speed* speed)
{
    if (_speed == speed) {
        return false;
    }
    if (_speed) {
        disconnect(_speed, &QObject::destroyed, this, &RecorderRecord::_onspeedDestroyed);
    }
    _speed = speed;
    if (_speed) {
        connect(_speed, &QObject::destroyed, this, &RecorderRecord::_onspeedDestroyed);
    }
    emit speedChanged();
    return true;
}

void RecorderRecord::_onspeedDestroyed(QObject*)
{
    _speed = nullptr;
    emit speedChanged();
}

Speed* RecorderRecord::_getSpeed(double value) const
{
    const QList<Speed*> speeds = _madeOffer ? _madeOffer->speeds.toList() : QList<Speed*>();
    for (Speed* speed : speeds) {
        if (qFuzzyCompare(speed->value(), value)) {
            return speed;
        }
    }
    return nullptr;
}

Speed* RecorderRecord::_newSpeed(double value)
{
    auto* speed = new Speed(value, this);
    QJSEngine::setObjectOwnership(speed, QJSEngine::CppOwnership);
    return speed;
}
