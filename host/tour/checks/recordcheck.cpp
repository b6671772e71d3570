// SPDX-License-Identifier: Apache-2.0
#include "recordcheck.h"

#include "faults.h"

#include <QtCore/QMultiHash>

#include <algorithm>
#include <limits>
#include <vector>

namespace tour {

namespace {

using Votes = QHash<qint64, qsizetype>;

// A pause is longer than this: two offsets that lie nearer are not one offset before and one after a pause.
constexpr qint64 shortestPauseUs = 50'000;

enum class Segment : quint8
{
    None,
    BeforePause,
    AfterPause
};

struct Match
{
    qsizetype publication = -1; // index in the agent's publications, -1: none
    bool afterPause = false;
};

// One agent's side of the comparison.
struct AgentTrace
{
    QString agent;
    QList<TracedEvent> publications; // accepted ones, in the order of publishing
    QList<TracedEvent> events; // of the record, in its order
    Votes votes; // how many events would be explained by a distance between record time and publication time
};

QString outputKey(const TracedEvent& event)
{
    return event.output + QLatin1Char('\n') + event.value.key();
}

// Values that come this often tell little, and comparing each with each would take long.
constexpr qsizetype mostEqualPublications = 64;

void collectVotes(AgentTrace* trace, const RecordingWindow& window)
{
    QHash<QString, QList<qint64>> publishedAt;
    for (const TracedEvent& publication : std::as_const(trace->publications)) {
        publishedAt[outputKey(publication)].append(publication.timeUs);
    }
    // The record's time zero lies near the start; a pause moves it on by no more than the recording lasted.
    const qint64 lowest = window.start.askedUs - 5'000'000;
    const qint64 highest = window.stop.seenUs + 5'000'000;
    const auto collect = [&](qsizetype most) {
        for (const TracedEvent& event : std::as_const(trace->events)) {
            const QList<qint64> stamps = publishedAt.value(outputKey(event));
            if (stamps.size() > most) {
                continue;
            }
            for (const qint64 stamp : stamps) {
                const qint64 offset = stamp - event.timeUs;
                if (offset >= lowest && offset <= highest) {
                    ++trace->votes[offset];
                }
            }
        }
    };
    collect(mostEqualPublications);
    if (trace->votes.isEmpty()) {
        collect(std::numeric_limits<qsizetype>::max());
    }
}

qsizetype votesAt(const Votes& votes, qint64 offset)
{
    return votes.value(offset, 0);
}

// The offset with the most votes; with a pause its partner's votes count too. Equals (an agent that publishes in a
// steady rhythm fits with several) are settled by nearness to a reference, else the smallest wins.
std::optional<qint64> bestOffset(const Votes& votes, qint64 pauseUs, std::optional<qint64> reference)
{
    std::optional<qint64> best;
    qsizetype bestVotes = 0;
    const auto rank = [&reference](qint64 offset) { return reference ? qAbs(offset - *reference) : offset; };
    const auto consider = [&](qint64 offset) {
        const qsizetype count = votesAt(votes, offset) + (pauseUs > 0 ? votesAt(votes, offset + pauseUs) : 0);
        if (count > bestVotes || (count == bestVotes && best && rank(offset) < rank(*best))) {
            best = offset;
            bestVotes = count;
        }
    };
    for (auto vote = votes.cbegin(); vote != votes.cend(); ++vote) {
        consider(vote.key());
        if (pauseUs > 0) {
            consider(vote.key() - pauseUs);
        }
    }
    return best;
}

// All agents' clocks are nearly the recorder's, and the agent with the most events tells best where its time zero is.
std::optional<qint64> findReference(const std::vector<AgentTrace>& traces, qint64 pauseUs)
{
    const auto most = std::max_element(traces.cbegin(), traces.cend(),
        [](const AgentTrace& left, const AgentTrace& right) { return left.events.size() < right.events.size(); });
    return most == traces.cend() ? std::nullopt : bestOffset(most->votes, pauseUs, std::nullopt);
}

// The pause is cut out of one clock, so all agents show the same length: the agent with the most events tells it best.
qint64 findPause(const std::vector<AgentTrace>& traces)
{
    qint64 pauseUs = 0;
    qsizetype mostVotes = 0;
    for (const AgentTrace& trace : traces) {
        const std::optional<qint64> first = bestOffset(trace.votes, 0, std::nullopt);
        if (!first) {
            continue;
        }
        for (auto vote = trace.votes.cbegin(); vote != trace.votes.cend(); ++vote) {
            const qint64 distance = qAbs(vote.key() - *first);
            const qsizetype count = votesAt(trace.votes, *first) + vote.value();
            if (distance >= shortestPauseUs && count > mostVotes && vote.value() > 1) {
                pauseUs = distance;
                mostVotes = count;
            }
        }
    }
    return pauseUs;
}

class AgentComparison
{
public:
    AgentComparison(const AgentTrace& trace, const RecordingWindow& window, RecordCheck* check)
        : _trace(trace)
        , _window(window)
        , _check(check)
    {
    }

    void run(std::optional<qint64> reference, const QList<TracedEvent>& initialValues)
    {
        if (!_trace.events.isEmpty()) {
            const std::optional<qint64> offset = bestOffset(_trace.votes, _check->pauseUs, reference);
            if (!offset) {
                _check->unknown.append(
                    QStringLiteral("none of the %1 events of %2").arg(_trace.events.size()).arg(_trace.agent));
                return;
            }
            _matchEvents(*offset);
        }
        _checkPublications();
        _checkInitialValues(initialValues);
    }

private:
    void _matchEvents(qint64 offset)
    {
        QMultiHash<QString, qsizetype> byOutputAndTime;
        for (qsizetype index = _trace.publications.size() - 1; index >= 0; --index) {
            // Inserted backwards, so that publications of one microsecond are found in their order.
            byOutputAndTime.insert(
                _timeKey(_trace.publications.at(index).output, _trace.publications.at(index).timeUs), index);
        }
        _matches.assign(static_cast<std::size_t>(_trace.publications.size()), Segment::None);
        for (const TracedEvent& event : _trace.events) {
            const Match match = _find(event, offset, byOutputAndTime);
            if (match.publication >= 0) {
                _accept(event, match);
            }
        }
    }

    static QString _timeKey(const QString& output, qint64 timeUs)
    {
        return output + QLatin1Char('\n') + QString::number(timeUs);
    }

    Match _find(const TracedEvent& event, qint64 offset, const QMultiHash<QString, qsizetype>& byOutputAndTime)
    {
        std::optional<Match> taken;
        const TracedEvent* altered = nullptr;
        for (const bool afterPause : { false, true }) {
            if (afterPause && _check->pauseUs == 0) {
                continue;
            }
            const qint64 stamp = event.timeUs + offset + (afterPause ? _check->pauseUs : 0);
            const QList<qsizetype> candidates = byOutputAndTime.values(_timeKey(event.output, stamp));
            for (const qsizetype index : candidates) {
                const TracedEvent& publication = _trace.publications.at(index);
                if (publication.value.key() != event.value.key()) {
                    altered = &publication;
                } else if (_matches[static_cast<std::size_t>(index)] == Segment::None) {
                    return { index, afterPause };
                } else {
                    taken = Match { index, afterPause };
                }
            }
        }
        if (taken) {
            _check->doubled.append(event.describe());
        } else if (altered) {
            _check->altered.append(QStringLiteral("%1 was \"%2\"").arg(event.describe(), altered->value.text.left(40)));
            _alteredPublications.append(altered->timeUs);
        } else {
            _check->unknown.append(event.describe());
        }
        return {};
    }

    void _accept(const TracedEvent& event, const Match& match)
    {
        const TracedEvent& publication = _trace.publications.at(match.publication);
        _matches[static_cast<std::size_t>(match.publication)]
            = match.afterPause ? Segment::AfterPause : Segment::BeforePause;
        ++_check->matched;
        if (match.publication < _lastMatched) {
            _check->misordered.append(event.describe());
        }
        _lastMatched = std::max(_lastMatched, match.publication);
        if (!_mayBeRecorded(publication.timeUs)) {
            _check->boundaries.append(
                QStringLiteral("recorded though published while not recording: %1").arg(publication.describe()));
        }
    }

    // Whether the recording may have been running then, as far as is known from outside.
    bool _mayBeRecorded(qint64 timeUs) const
    {
        if (timeUs < _window.start.askedUs - _window.toleranceUs
            || timeUs > _window.stop.seenUs + _window.toleranceUs) {
            return false;
        }
        return !_window.pause || timeUs < _window.pause->seenUs + _window.toleranceUs
            || timeUs > _window.resume->askedUs - _window.toleranceUs;
    }

    // Whether it certainly was.
    bool _mustBeRecorded(qint64 timeUs) const
    {
        if (timeUs < _window.start.seenUs + _window.toleranceUs
            || timeUs > _window.stop.askedUs - _window.toleranceUs) {
            return false;
        }
        return !_window.pause || timeUs < _window.pause->askedUs - _window.toleranceUs
            || timeUs > _window.resume->seenUs + _window.toleranceUs;
    }

    void _checkPublications()
    {
        _matches.resize(static_cast<std::size_t>(_trace.publications.size()), Segment::None);
        struct Run
        {
            qsizetype first = -1;
            qsizetype last = -1;
        };
        Run runs[2];
        for (qsizetype index = 0; index < _trace.publications.size(); ++index) {
            if (const Segment segment = _matches[static_cast<std::size_t>(index)]; segment != Segment::None) {
                Run& run = runs[segment == Segment::AfterPause ? 1 : 0];
                run.first = run.first < 0 ? index : run.first;
                run.last = index;
            }
        }
        for (qsizetype index = 0; index < _trace.publications.size(); ++index) {
            const bool isInside = std::any_of(std::begin(runs), std::end(runs),
                [index](const Run& run) { return index >= run.first && index <= run.last; });
            const TracedEvent& publication = _trace.publications.at(index);
            if (!isInside && !_mustBeRecorded(publication.timeUs)) {
                continue;
            }
            ++_check->published;
            if (_matches[static_cast<std::size_t>(index)] == Segment::None
                && !_alteredPublications.contains(publication.timeUs)) {
                _check->lost.append(
                    QStringLiteral("%1 (number %2)").arg(publication.describe()).arg(publication.sequence));
            }
        }
        _firstRecorded = runs[0].first;
        if (_firstRecorded < 0 && runs[1].first >= 0) {
            // Recorded only after the pause: what it held at the start is what it had published when that was asked
            // for.
            const auto isBeforeStart
                = [this](const TracedEvent& publication) { return publication.timeUs < _window.start.askedUs; };
            _firstRecorded = std::count_if(_trace.publications.cbegin(), _trace.publications.cend(), isBeforeStart);
        }
    }

    void _checkInitialValues(const QList<TracedEvent>& initialValues)
    {
        if (_firstRecorded < 0) {
            return;
        }
        QHash<QString, TracedEvent> before; // the last publication of each output before the record's first event
        for (qsizetype index = 0; index < _firstRecorded; ++index) {
            const TracedEvent& publication = _trace.publications.at(index);
            if (before.contains(publication.output) && publication.sequence == 1) {
                before.clear(); // the agent was started again, and what it had published is gone with its process
            }
            before.insert(publication.output, publication);
        }
        QHash<QString, QString> told;
        for (const TracedEvent& value : initialValues) {
            if (value.agent != _trace.agent) {
                continue;
            }
            if (told.contains(value.output)) {
                _check->initialValues.append(QStringLiteral("told twice: %1").arg(value.describe()));
            }
            told.insert(value.output, value.value.key());
        }
        for (const TracedEvent& publication : std::as_const(before)) {
            // An impulse holds nothing that could be told.
            if (publication.value.type == QLatin1String("impulse")) {
                continue;
            }
            if (!told.contains(publication.output)) {
                _check->initialValues.append(QStringLiteral("missing: %1").arg(publication.describe()));
            } else if (told.value(publication.output) != publication.value.key()) {
                _check->initialValues.append(QStringLiteral("wrong: %1").arg(publication.describe()));
            }
        }
    }

    const AgentTrace& _trace;
    const RecordingWindow& _window;
    RecordCheck* _check;
    std::vector<Segment> _matches; // for each publication where the record has it
    QList<qint64> _alteredPublications;
    qsizetype _lastMatched = -1;
    qsizetype _firstRecorded = -1;
};

} // namespace

bool RecordCheck::passed() const
{
    return matched > 0 && matched == recorded && lost.isEmpty() && doubled.isEmpty() && altered.isEmpty()
        && unknown.isEmpty() && misordered.isEmpty() && boundaries.isEmpty() && initialValues.isEmpty();
}

QString RecordCheck::summary() const
{
    QStringList parts {
        QStringLiteral("%1 published, %2 recorded, %3 the same").arg(published).arg(recorded).arg(matched)
    };
    if (pauseUs > 0) {
        parts.append(QStringLiteral("pause of %1 s cut out").arg(static_cast<double>(pauseUs) / 1e6, 0, 'f', 3));
    }
    appendFault(&parts, QStringLiteral("lost"), lost);
    appendFault(&parts, QStringLiteral("doubled"), doubled);
    appendFault(&parts, QStringLiteral("altered"), altered);
    appendFault(&parts, QStringLiteral("never published"), unknown);
    appendFault(&parts, QStringLiteral("out of order"), misordered);
    appendFault(&parts, QStringLiteral("wrong boundaries"), boundaries);
    appendFault(&parts, QStringLiteral("wrong values at the start"), initialValues);
    return parts.join(QStringLiteral("; "));
}

RecordCheck checkRecord(const RecordFile& record, const Journal& journal, const RecordingWindow& window)
{
    RecordCheck check;
    check.recorded = record.events().size();

    QStringList agents = journal.agents();
    for (const TracedEvent& event : record.events()) {
        if (!agents.contains(event.agent)) {
            agents.append(event.agent);
        }
    }
    std::vector<AgentTrace> traces;
    for (const QString& agent : std::as_const(agents)) {
        AgentTrace trace;
        trace.agent = agent;
        const QList<TracedEvent> publications = journal.eventsByAgent().value(agent);
        for (const TracedEvent& publication : publications) {
            if (!window.accepts || window.accepts(publication.agent, publication.output)) {
                trace.publications.append(publication);
            }
        }
        for (const TracedEvent& event : record.events()) {
            if (event.agent == agent) {
                trace.events.append(event);
            }
        }
        collectVotes(&trace, window);
        traces.push_back(std::move(trace));
    }
    if (window.pause) {
        check.pauseUs = findPause(traces);
        const qint64 least = window.resume->askedUs - window.pause->seenUs - 2 * window.toleranceUs;
        const qint64 most = window.resume->seenUs - window.pause->askedUs + 2 * window.toleranceUs;
        if (check.pauseUs < least || check.pauseUs > most) {
            check.boundaries.append(
                QStringLiteral("the record cuts out a pause of %1 us, between %2 and %3 were expected")
                    .arg(check.pauseUs)
                    .arg(least)
                    .arg(most));
        }
    }
    const std::optional<qint64> reference = findReference(traces, check.pauseUs);
    for (const AgentTrace& trace : traces) {
        AgentComparison(trace, window, &check).run(reference, record.initialValues());
    }
    return check;
}

} // namespace tour
