// SPDX-License-Identifier: Apache-2.0
#include "lossaccount.h"

#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>

using namespace tour;

namespace {

// What is published at the moment of the stop may be in the record or not.
constexpr qint64 BOUNDARY_US = 300'000;

// How far a record's times are from its agent's stamps: by what is in the record once, and was published once.
qint64 offsetOf(const QList<TracedEvent>& events, const QList<TracedEvent>& publications)
{
    const auto timesByValue = [](const QList<TracedEvent>& all) {
        QHash<QString, QList<qint64>> times;
        for (const TracedEvent& event : all) {
            times[event.output + QLatin1Char('\n') + event.value.key()].append(event.timeUs);
        }
        return times;
    };
    const QHash<QString, QList<qint64>> recorded = timesByValue(events);
    const QHash<QString, QList<qint64>> published = timesByValue(publications);
    QHash<qint64, int> votes;
    qint64 best = 0;
    for (auto value = recorded.cbegin(); value != recorded.cend(); ++value) {
        const QList<qint64> times = published.value(value.key());
        if (value->size() == 1 && times.size() == 1) {
            const qint64 offset = times.first() - value->first();
            best = ++votes[offset] > votes.value(best) ? offset : best;
        }
    }
    return best;
}

// One output's side of the account.
class OutputAccount
{
public:
    OutputAccount(QList<TracedEvent> publications, const RecordingWindow& window, LossAccount* account)
        : _publications(std::move(publications))
        , _window(window)
        , _account(account)
    {
    }

    /// The value that the record says the output had at the start: what follows belongs to the record.
    void takeInitial(const TracedEvent& value) { _initial = value.value.key(); }

    /// The events of the record. `offset` leads to the agent's own stamps, `startUs` to when the recorder received
    /// them.
    void take(const QList<TracedEvent>& events, qint64 offset, qint64 startUs)
    {
        // First those that are known by their times: what an output still held when its agent was met again came late,
        // and may be one of many equal values between them.
        QList<quint64> numbers;
        for (const TracedEvent& event : events) {
            numbers.append(_find(event, _last, _publications.size(), event.timeUs + offset, event.timeUs + offset));
            _last = std::max(_last, numbers.last());
        }
        // From the end, so that each leaves room for those before it.
        quint64 below = static_cast<quint64>(_publications.size()) + 1;
        for (qsizetype i = events.size() - 1; i >= 0; --i) {
            const TracedEvent& event = events.at(i);
            if (numbers.at(i) == 0) {
                ++_account->late;
                const quint64 from = i == 0 ? 0 : *std::max_element(numbers.cbegin(), numbers.cbegin() + i);
                numbers[i] = _find(event, from, static_cast<qsizetype>(below) - 1, 0, event.timeUs + startUs);
            }
            if (numbers.at(i) == 0) {
                _account->faults.append(QStringLiteral("nobody published %1").arg(event.describe()));
                continue;
            }
            below = numbers.at(i);
            _first = below;
            _last = std::max(_last, below);
            ++_stored;
        }
    }

    void close(const QString& name, qsizetype reported, bool isSilent)
    {
        if (_stored == 0) {
            _last = _numberBefore(static_cast<quint64>(_publications.size()) + 1);
            _first = _last + 1;
        }
        auto produced = static_cast<qsizetype>(_last - _numberBefore(_first));
        const bool isNew = !_initial && !_publications.isEmpty() && _publications.first().timeUs > _window.start.seenUs;
        if (const auto earlier = static_cast<qsizetype>(_first) - 1;
            isNew && _stored + reported == produced + earlier) {
            // First used while its agent, which was there at the start, was away.
            produced += earlier;
        }
        const auto notStored = [this](qint64 sinceUs, qint64 untilUs) {
            return std::count_if(_publications.cbegin(), _publications.cend(), [&](const TracedEvent& publication) {
                return publication.sequence > _last && publication.timeUs > sinceUs && publication.timeUs < untilUs;
            });
        };
        const qint64 stopUs = _window.stop.askedUs;
        qsizetype absent = notStored(_window.start.seenUs + BOUNDARY_US, stopUs - BOUNDARY_US);
        if (const qsizetype beyond = _stored + reported - produced;
            beyond > 0 && (absent > 0 || beyond <= notStored(stopUs - BOUNDARY_US, stopUs + BOUNDARY_US))) {
            // Its agent was met again after the end: what was lost until then is no longer exact.
            produced += beyond;
            absent = std::max<qsizetype>(absent - beyond, 0);
        }
        _account->produced += produced;
        _account->stored += _stored;
        _account->reported += reported;
        _account->unheard += absent;
        if (produced != _stored + reported) {
            QStringList times; // of what may have been counted twice, or not
            for (const TracedEvent& publication : _publications.mid(std::max<qsizetype>(_publications.size() - 3, 0))) {
                times << QString::number((publication.timeUs - stopUs) / 1'000);
            }
            _account->faults.append(
                QStringLiteral("%1: %2 published, %3 stored, %4 reported lost (the last at %5 ms from the end)")
                    .arg(name)
                    .arg(produced)
                    .arg(_stored)
                    .arg(reported)
                    .arg(times.join(QLatin1String(", "))));
        }
        if (absent > 0 && !isSilent) {
            _account->faults.append(
                QStringLiteral("%1: the last %2 are neither stored nor reported").arg(name).arg(absent));
        }
    }

private:
    // The number of the last publication of that value then, of those from `from` to below `to`; 0: there is none.
    quint64 _find(const TracedEvent& event, quint64 from, qsizetype to, qint64 sinceUs, qint64 untilUs) const
    {
        quint64 number = 0;
        for (auto i = static_cast<qsizetype>(from); i < to && _publications.at(i).timeUs <= untilUs; ++i) {
            const TracedEvent& publication = _publications.at(i);
            if (publication.timeUs >= sinceUs && publication.value.key() == event.value.key()) {
                number = publication.sequence;
            }
        }
        return number;
    }

    // The last number before that is no part of the record: of the value that it says the output had at the start.
    quint64 _numberBefore(quint64 below) const
    {
        if (!_initial) {
            // First published while it was recorded, or an impulse, which leaves no value.
            return below - 1;
        }
        quint64 number = 0;
        for (const TracedEvent& publication : _publications) {
            if (publication.sequence < below && publication.timeUs <= _window.start.seenUs
                && publication.value.key() == _initial) {
                number = publication.sequence;
            }
        }
        return number;
    }

    const QList<TracedEvent> _publications; // of one run of its agent: the first has number 1
    const RecordingWindow& _window;
    LossAccount* _account;
    std::optional<QString> _initial;
    quint64 _first = 0; // the first number that is in the record
    quint64 _last = 0;
    qsizetype _stored = 0;
};

} // namespace

QString LossAccount::summary() const
{
    return QStringLiteral("%1 published, %2 stored (%3 late), %4 reported lost, %5 unheard at the end")
               .arg(produced)
               .arg(stored)
               .arg(late)
               .arg(reported)
               .arg(unheard)
        + (faults.isEmpty() ? QString() : QStringLiteral("; ") + faults.mid(0, 10).join(QStringLiteral("; ")));
}

LossAccount accountFor(const RecordFile& file, const Journal& journal, const RecordingWindow& window)
{
    LossAccount account;
    const QJsonObject completeness
        = QJsonDocument::fromJson(file.facts().value(QStringLiteral("completeness")).toUtf8()).object();
    const QHash<QString, qsizetype> reported = file.losses();
    const QString start = file.facts().value(QStringLiteral("start_date"));
    const qint64 startUs = QDateTime::fromString(start.section(QLatin1Char('.'), 0, 0) + QLatin1Char('Z'), Qt::ISODate)
                               .toSecsSinceEpoch()
            * 1'000'000
        + start.section(QLatin1Char('.'), 1).left(6).toLongLong();
    QStringList silent;
    for (const QJsonValue& remark : completeness.value(QLatin1String("remarks")).toArray()) {
        silent.append(remark.toString());
    }
    for (const QString& agent : journal.agents()) {
        const auto ofAgent = [&agent](const TracedEvent& event) { return event.agent == agent; };
        QList<TracedEvent> events;
        std::copy_if(file.events().cbegin(), file.events().cend(), std::back_inserter(events), ofAgent);
        const QList<TracedEvent> publications = journal.eventsByAgent().value(agent);
        const qint64 offset = offsetOf(events, publications);
        const bool isSilent = !silent.filter(QLatin1Char('"') + agent + QStringLiteral("\" fell silent")).isEmpty();
        QMap<QString, QList<TracedEvent>> byOutput;
        for (const TracedEvent& publication : publications) {
            byOutput[publication.output].append(publication);
        }
        for (auto output = byOutput.cbegin(); output != byOutput.cend(); ++output) {
            OutputAccount outputAccount(*output, window, &account);
            for (const TracedEvent& value : file.initialValues()) {
                if (ofAgent(value) && value.output == output.key()) {
                    outputAccount.takeInitial(value);
                }
            }
            QList<TracedEvent> recorded;
            std::copy_if(events.cbegin(), events.cend(), std::back_inserter(recorded),
                [&output](const TracedEvent& event) { return event.output == output.key(); });
            outputAccount.take(recorded, offset, startUs);
            const QString name = agent + QLatin1Char('/') + output.key();
            outputAccount.close(name, reported.value(name), isSilent);
        }
    }
    return account;
}
