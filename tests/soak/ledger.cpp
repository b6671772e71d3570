// SPDX-License-Identifier: Apache-2.0
#include "ledger.h"

#include "crowdjournal.h"

#include <recordfile.h>

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>

namespace soak {

namespace {

constexpr qint64 SECOND_US = 1'000'000;
// How far a recording's boundaries may lie beside what was asked and seen, on a machine that has other things to do.
constexpr qint64 TOLERANCE_US = SECOND_US;
// Until then a recorder may not know an agent that has come …
constexpr qint64 ACQUAINTANCE_US = 2 * SECOND_US;
// … or has come back after it was silent: it must first be given up, then found by its beacon.
constexpr qint64 RETURN_US = 5 * SECOND_US;
// What was on its way when a publisher was killed.
constexpr qint64 UNSENT_US = SECOND_US;
constexpr qint64 KEPT_US = 20 * SECOND_US;

tour::Moment momentOf(const QJsonValue& value)
{
    const QJsonObject object = value.toObject();
    return { object.value(QLatin1String("asked")).toInteger(), object.value(QLatin1String("seen")).toInteger() };
}

// The number that a value was made of; 0 when it is not as it was made.
qint32 numberOf(const tour::TracedValue& value)
{
    const qint32 number = value.text.section(QLatin1Char(' '), 0, 0).toInt();
    if (value.type == QLatin1String("integer")) {
        return number;
    }
    const QString made = QString::number(number) + QLatin1Char(' ') + QString(number % 300, QLatin1Char('x'));
    return value.type == QLatin1String("string") && value.text == made ? number : 0;
}

} // namespace

bool MadeRecord::fromJson(const QByteArray& json, MadeRecord* record)
{
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    record->file = object.value(QLatin1String("file")).toString();
    record->wasKilled = object.value(QLatin1String("killed")).toBool();
    record->window.start = momentOf(object.value(QLatin1String("start")));
    record->window.stop = momentOf(object.value(QLatin1String("stop")));
    if (object.contains(QLatin1String("pause"))) {
        record->window.pause = momentOf(object.value(QLatin1String("pause")));
        record->window.resume = momentOf(object.value(QLatin1String("resume")));
    }
    return !record->file.isEmpty() && record->window.start.askedUs > 0 && record->window.stop.seenUs > 0;
}

Ledger::Ledger(const QString& journal)
    : _journal(journal)
{
}

void Ledger::_read()
{
    if (!_journal.isOpen() && !_journal.open(QIODevice::ReadOnly)) {
        return;
    }
    _rest += _journal.readAll();
    const qsizetype end = _rest.lastIndexOf('\n') + 1;
    const QList<QByteArray> rows = _rest.left(end).split('\n');
    _rest.remove(0, end);
    for (const QByteArray& row : rows) {
        const QList<QByteArray> fields = row.split(';');
        if (fields.size() != 4) {
            continue;
        }
        const qint32 number = fields[2].toInt();
        const qint64 timeUs = fields[3].toLongLong();
        Life& life = _lives[{ QString::fromUtf8(fields[0]), number / NUMBERS_OF_A_LIFE }];
        if (fields[1] == JOINED) {
            life.joinedUs = timeUs;
        } else if (fields[1] == LEFT || fields[1] == KILLED) {
            life.goneUs = timeUs;
            life.wasKilled = fields[1] == KILLED;
        } else if (fields[1] == FROZEN) {
            life.frozenUs = timeUs;
        } else if (fields[1] == THAWED) {
            life.thawedUs = timeUs;
        } else {
            life.published[QString::fromUtf8(fields[1])].insert(number, timeUs);
        }
    }
}

void Ledger::_forgetBefore(qint64 timeUs)
{
    for (auto life = _lives.begin(); life != _lives.end();) {
        for (QMap<qint32, qint64>& published : life->published) {
            published.removeIf([timeUs](auto publication) { return publication.value() < timeUs; });
        }
        const bool isOver = life->goneUs > 0 && life->goneUs < timeUs;
        life = isOver ? _lives.erase(life) : std::next(life);
    }
}

bool Ledger::_isPause(qint64 timeUs, const tour::RecordingWindow& window)
{
    return window.pause && timeUs > window.pause->askedUs - TOLERANCE_US
        && timeUs < window.resume->seenUs + TOLERANCE_US;
}

// Whether what was published then must be in the record.
bool Ledger::_isOwed(const Life& life, qint64 timeUs, const tour::RecordingWindow& window)
{
    const bool isInRecording
        = timeUs > window.start.seenUs + TOLERANCE_US && timeUs < window.stop.askedUs - TOLERANCE_US;
    const bool isKnown = timeUs > life.joinedUs + ACQUAINTANCE_US;
    const bool isSent = !life.wasKilled || timeUs < life.goneUs - UNSENT_US;
    const bool isAway = life.frozenUs > 0 && timeUs > life.frozenUs - UNSENT_US
        && (life.thawedUs == 0 || timeUs < life.thawedUs + RETURN_US);
    return isInRecording && isKnown && isSent && !isAway && !_isPause(timeUs, window);
}

Account Ledger::settle(const MadeRecord& record)
{
    Account account;
    const tour::RecordingWindow& window = record.window;
    _read();
    _forgetBefore(window.start.askedUs - KEPT_US);
    tour::RecordFile file;
    QString error;
    if (!file.readFile(record.file, &error)) {
        account.faults.append(error);
        return account;
    }

    QMap<Key, QHash<QString, QList<qint32>>> recorded;
    for (const QList<tour::TracedEvent>& events : { file.initialValues(), file.events() }) {
        for (const tour::TracedEvent& event : events) {
            const qint32 number = numberOf(event.value);
            const Key key { event.agent, number / NUMBERS_OF_A_LIFE };
            const auto life = _lives.constFind(key);
            const bool isPublished = life != _lives.cend() && life->published.value(event.output).contains(number);
            if (!isPublished) {
                account.faults.append(QStringLiteral("nobody published %1").arg(event.describe()));
            }
            QList<qint32>& numbers = recorded[key][event.output];
            if (!numbers.isEmpty() && number <= numbers.last()) {
                account.faults.append(QStringLiteral("twice or out of order: %1").arg(event.describe()));
            }
            numbers.append(number);
        }
    }

    const QHash<QString, qsizetype> losses = file.losses();
    QHash<QString, std::pair<qsizetype, qsizetype>> missing; // by agent and output: the least and the most
    for (auto life = _lives.cbegin(); life != _lives.cend(); ++life) {
        for (auto output = life->published.cbegin(); output != life->published.cend(); ++output) {
            const QList<qint32> numbers = recorded.value(life.key()).value(output.key());
            const qint32 first = numbers.isEmpty() ? 0 : numbers.first();
            const qint32 last = numbers.isEmpty() ? 0 : numbers.last();
            const QString name = life.key().first + QLatin1Char('/') + output.key();
            account.recorded += numbers.size();
            account.lives += numbers.isEmpty() ? 0 : 1;
            if (!numbers.isEmpty() && life->joinedUs > window.start.seenUs && output->contains(first)) {
                account.latestStartUs = std::max(account.latestStartUs, output->value(first) - output->first());
            }
            QStringList absent;
            for (auto publication = output->cbegin(); publication != output->cend(); ++publication) {
                const bool isOwed = _isOwed(*life, publication.value(), window);
                account.produced += isOwed ? 1 : 0;
                if (std::binary_search(numbers.cbegin(), numbers.cend(), publication.key())) {
                    continue;
                }
                if (publication.value() > window.start.askedUs && publication.value() <= window.stop.seenUs) {
                    ++missing[name].second;
                }
                if (publication.key() < last) {
                    missing[name].first += isOwed ? 1 : 0;
                } else if (isOwed) {
                    absent.append(QString::number(publication.key()));
                }
            }
            // What was missed right before the end is known if the agent was met again in time.
            if (!absent.isEmpty() && losses.value(name) < missing[name].first + absent.size()) {
                account.faults.append(
                    QStringLiteral("%1 of %2 are neither recorded nor reported, from %3 to %4; recorded: %5 to %6")
                        .arg(absent.size())
                        .arg(name, absent.first(), absent.last())
                        .arg(first)
                        .arg(last));
            }
        }
    }
    for (auto output = missing.cbegin(); output != missing.cend(); ++output) {
        const qsizetype reported = losses.value(output.key());
        if (reported < output->first) {
            account.faults.append(QStringLiteral("%1 of %2 are missing, %3 are reported lost")
                    .arg(output->first)
                    .arg(output.key())
                    .arg(reported));
        }
    }
    for (auto loss = losses.cbegin(); loss != losses.cend(); ++loss) {
        account.lost += *loss;
        if (*loss > missing.value(loss.key()).second) {
            account.faults.append(QStringLiteral("%1 of %2 are reported lost, %3 are missing")
                    .arg(*loss)
                    .arg(loss.key())
                    .arg(missing.value(loss.key()).second));
        }
    }
    return account;
}

} // namespace soak
