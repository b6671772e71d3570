// SPDX-License-Identifier: Apache-2.0
#include "replaycheck.h"

#include "faults.h"

#include <QtCore/QHash>
#include <QtCore/QMap>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <vector>

namespace tour {

namespace {

struct Expectation
{
    QMap<QString, TracedEvent> states; // by output
    QList<TracedEvent> events;
};

struct Arrival
{
    qint64 receivedUs = 0;
    qint64 recordedUs = 0;
};

QHash<QString, Expectation> expectationByAgent(const RecordFile& record, const ReplayStretch& stretch)
{
    const qint64 fromUs = std::llround(stretch.fromSeconds * 1e6);
    const auto isReplayed = [&stretch](const TracedEvent& event) {
        return stretch.agents.isEmpty() || stretch.agents.contains(event.agent);
    };
    QHash<QString, Expectation> expectations;
    const auto hold = [&](const TracedEvent& event) {
        // An impulse is over when it has happened: to publish it as a state would make it happen again.
        if (stretch.beginsWithState && event.value.type != QLatin1String("impulse")) {
            expectations[event.agent].states.insert(event.output, event);
        }
    };
    for (const TracedEvent& value : record.initialValues()) {
        if (isReplayed(value)) {
            hold(value);
        }
    }
    for (const TracedEvent& event : record.events()) {
        if (!isReplayed(event)) {
            continue;
        }
        if (event.timeUs < fromUs) {
            hold(event);
        } else {
            expectations[event.agent].events.append(event);
        }
    }
    return expectations;
}

// Follows one agent's observations through its expectation.
class AgentReplay
{
public:
    AgentReplay(const Expectation& expectation, ReplayCheck* check, std::vector<Arrival>* arrivals)
        : _expectation(expectation)
        , _openStates(expectation.states)
        , _check(check)
        , _arrivals(arrivals)
    {
    }

    void observe(const Observation& observation)
    {
        _checkNumbering(observation);
        if (_next == 0) {
            const auto state = _openStates.find(observation.event.output);
            if (state != _openStates.end() && state->value.key() == observation.event.value.key()) {
                _openStates.erase(state);
                ++_check->states;
                return;
            }
        }
        if (_next >= _expectation.events.size()) {
            _check->wrong.append(QStringLiteral("too much: %1").arg(observation.event.describe()));
            return;
        }
        const TracedEvent& expected = _expectation.events.at(_next);
        if (expected.output != observation.event.output || expected.value.key() != observation.event.value.key()) {
            _check->wrong.append(
                QStringLiteral("%1 instead of %2").arg(observation.event.describe(), expected.describe()));
            _resume(observation);
            return;
        }
        _arrivals->push_back({ observation.receivedUs, expected.timeUs });
        ++_next;
    }

    // Every event up to this time must have come, none after the other time.
    void finish(qint64 untilUs, qint64 noneAfterUs)
    {
        if (_next > 0 && _expectation.events.at(_next - 1).timeUs > noneAfterUs) {
            _check->wrong.append(
                QStringLiteral("after the pause: %1").arg(_expectation.events.at(_next - 1).describe()));
        }
        if (_next > 0 || untilUs > 0) {
            for (const TracedEvent& state : std::as_const(_openStates)) {
                _check->missing.append(QStringLiteral("state %1").arg(state.describe()));
            }
        }
        for (qsizetype index = _next; index < _expectation.events.size(); ++index) {
            if (_expectation.events.at(index).timeUs <= untilUs) {
                _check->missing.append(_expectation.events.at(index).describe());
            }
        }
        _check->expected += std::count_if(_expectation.events.cbegin(), _expectation.events.cend(),
            [untilUs](const TracedEvent& event) { return event.timeUs <= untilUs; });
    }

private:
    // After a wrong value: goes on behind the next equal event, so that one fault is told once and not for all the
    // rest.
    void _resume(const Observation& observation)
    {
        const qsizetype last = std::min<qsizetype>(_next + 20, _expectation.events.size());
        for (qsizetype index = _next; index < last; ++index) {
            const TracedEvent& expected = _expectation.events.at(index);
            if (expected.output == observation.event.output && expected.value.key() == observation.event.value.key()) {
                _next = index + 1;
                return;
            }
        }
    }

    void _checkNumbering(const Observation& observation)
    {
        quint64& last = _lastSequence[observation.event.output];
        if (observation.lost > 0 || (last > 0 && observation.event.sequence != last + 1)) {
            _check->lost.append(QStringLiteral("before number %1 of %2/%3")
                    .arg(observation.event.sequence)
                    .arg(observation.event.agent, observation.event.output));
        }
        last = observation.event.sequence;
    }

    const Expectation& _expectation;
    QMap<QString, TracedEvent> _openStates;
    QHash<QString, quint64> _lastSequence;
    ReplayCheck* _check;
    std::vector<Arrival>* _arrivals;
    qsizetype _next = 0;
};

double quantile(std::vector<double>* values, double fraction)
{
    const auto rank = static_cast<std::ptrdiff_t>(std::ceil(fraction * static_cast<double>(values->size()))) - 1;
    const auto nth = values->begin() + std::max<std::ptrdiff_t>(rank, 0);
    std::nth_element(values->begin(), nth, values->end());
    return *nth;
}

void measureTiming(const std::vector<Arrival>& arrivals, double speed, const ReplayBounds& bounds, ReplayCheck* check)
{
    if (arrivals.empty()) {
        return;
    }
    const Arrival& reference = arrivals.front();
    std::vector<double> starts; // by each event: when the replay began, in ms after the first event's opinion
    starts.reserve(arrivals.size());
    Arrival first = reference;
    Arrival last = reference;
    for (const Arrival& arrival : arrivals) {
        const double elapsedUs = static_cast<double>(arrival.receivedUs - reference.receivedUs);
        const double dueUs = static_cast<double>(arrival.recordedUs - reference.recordedUs) / speed;
        starts.push_back((elapsedUs - dueUs) / 1e3);
        first = arrival.recordedUs < first.recordedUs ? arrival : first;
        last = arrival.recordedUs >= last.recordedUs ? arrival : last;
    }
    std::vector<double> errors = starts;
    const double start = quantile(&errors, 0.5);
    for (std::size_t index = 0; index < starts.size(); ++index) {
        errors[index] = std::abs(starts[index] - start);
    }
    check->medianLateMs = quantile(&errors, 0.5);
    check->nearLateMs = quantile(&errors, bounds.nearFraction);
    check->oftenLateMs = quantile(&errors, 0.95);
    check->mostLateMs = *std::max_element(errors.cbegin(), errors.cend());
    const double recordedUs = static_cast<double>(last.recordedUs - first.recordedUs) / speed;
    check->wholeErrorMs = (static_cast<double>(last.receivedUs - first.receivedUs) - recordedUs) / 1e3;
    if (check->nearLateMs > bounds.nearMs) {
        check->timing.append(QStringLiteral("%1 of 100 events only within %2 ms")
                .arg(100.0 * bounds.nearFraction)
                .arg(check->nearLateMs, 0, 'f', 1));
    }
    if (std::abs(check->wholeErrorMs) > bounds.wholeMs) {
        check->timing.append(QStringLiteral("the whole %1 ms off").arg(check->wholeErrorMs, 0, 'f', 1));
    }
}

} // namespace

bool ReplayCheck::passed() const
{
    return observed > 0 && wrongAgents.isEmpty() && missing.isEmpty() && wrong.isEmpty() && lost.isEmpty()
        && timing.isEmpty();
}

QString ReplayCheck::summary() const
{
    QStringList parts { QStringLiteral(
        "%1 values of the state, then %2 events (%3 were due); off by %4 ms (median), %5 ms (95 of "
        "100), %6 ms (most), the whole by %7 ms")
            .arg(states)
            .arg(observed - states)
            .arg(expected)
            .arg(medianLateMs, 0, 'f', 2)
            .arg(oftenLateMs, 0, 'f', 2)
            .arg(mostLateMs, 0, 'f', 2)
            .arg(wholeErrorMs, 0, 'f', 2) };
    appendFault(&parts, QStringLiteral("of wrong agents"), wrongAgents);
    appendFault(&parts, QStringLiteral("missing"), missing);
    appendFault(&parts, QStringLiteral("wrong"), wrong);
    appendFault(&parts, QStringLiteral("lost on the way"), lost);
    appendFault(&parts, QStringLiteral("bounds broken"), timing);
    return parts.join(QStringLiteral("; "));
}

ReplayCheck checkReplay(const RecordFile& record, const QList<Observation>& observations, const ReplayStretch& stretch,
    const ReplayBounds& bounds)
{
    ReplayCheck check;
    const QHash<QString, Expectation> expectations = expectationByAgent(record, stretch);
    std::vector<Arrival> arrivals;
    std::map<QString, AgentReplay> replays;
    for (auto expectation = expectations.cbegin(); expectation != expectations.cend(); ++expectation) {
        replays.try_emplace(expectation.key(), expectation.value(), &check, &arrivals);
    }
    for (const Observation& observation : observations) {
        const bool isInStretch
            = observation.receivedUs >= stretch.playedUs && observation.receivedUs <= stretch.endedUs;
        if (!isInStretch || !observation.isStandIn || observation.isLastValue) {
            continue;
        }
        ++check.observed;
        if (const auto replay = replays.find(observation.event.agent); replay != replays.end()) {
            replay->second.observe(observation);
        } else {
            check.wrongAgents.append(observation.event.describe());
        }
    }
    qint64 untilUs = std::numeric_limits<qint64>::max();
    qint64 noneAfterUs = untilUs;
    if (stretch.toSeconds) {
        untilUs = std::llround((*stretch.toSeconds - stretch.toToleranceSeconds) * 1e6);
        noneAfterUs = std::llround((*stretch.toSeconds + stretch.toToleranceSeconds) * 1e6);
    }
    for (auto& [agent, replay] : replays) {
        replay.finish(untilUs, noneAfterUs);
    }
    measureTiming(arrivals, stretch.speed, bounds, &check);
    return check;
}

} // namespace tour
