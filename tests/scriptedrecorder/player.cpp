// SPDX-License-Identifier: Apache-2.0
#include "player.h"

#include "report.h"

#include <algorithm>
#include <csignal>
#include <unistd.h>
#include <utility>

namespace scripted {

namespace {

// Where a call of this service has rows to import; -1 for other calls.
qsizetype placeOfRows(const Call& call)
{
    const qsizetype place = call.service == "import" ? 3 : call.service == "append" ? 1 : -1;
    return place < call.arguments.size() ? place : -1;
}

QString cursorAt(qint64 row)
{
    return QStringLiteral("row %1").arg(row);
}

qint64 rowOf(const QString& cursor)
{
    return cursor.section(u' ', 1, 1).toLongLong();
}

} // namespace

Player::Player(QByteArray host)
    : _host(std::move(host))
{
}

bool Player::take(const QString& text, QString& problem)
{
    const std::optional<Line> line = parseLine(text, problem);
    if (!line) {
        return false;
    }
    const std::lock_guard lock(_mutex);
    switch (line->kind) {
    case Line::Kind::Empty:
        break;
    case Line::Kind::Report:
        _imported.finish();
        reportRows(_imported);
        _imported = {};
        break;
    case Line::Kind::On:
        _rules[line->service][line->occurrence] = line->steps;
        break;
    case Line::Kind::For:
        if (!_lastCalls.contains(line->service)) {
            problem = QStringLiteral("\"%1\" was not called yet").arg(line->service);
            return false;
        }
        _play(std::make_shared<Run>(Run { _lastCalls.value(line->service), line->steps }));
        break;
    case Line::Kind::Now:
        _play(std::make_shared<Run>(Run { _lastCall, line->steps }));
        break;
    }
    return true;
}

void Player::onCall(const Call& call)
{
    const std::lock_guard lock(_mutex);
    const QString service = QString::fromUtf8(call.service);
    const int occurrence = ++_callCounts[service];
    const QHash<int, QList<Step>> rules = _rules.value(service);
    // First the answer, as quick as can be; counting and telling come after.
    _play(std::make_shared<Run>(Run { call, rules.value(occurrence, rules.value(0)) }));
    const auto waiting = std::exchange(_waitingForCalls, {});
    for (const auto& [awaited, run] : waiting) {
        if (awaited == service) {
            _play(run);
        } else {
            _waitingForCalls.emplace_back(awaited, run);
        }
    }
    Call kept = call;
    if (const qsizetype place = placeOfRows(call); place >= 0) {
        const QByteArray rows = call.arguments.at(place).toByteArray();
        _imported.add(rows);
        kept.arguments[place] = static_cast<int>(rows.size());
    }
    reportCall(kept);
    _lastCalls.insert(service, kept);
    _lastCall = kept;
}

// ---- runs -------------------------------------------------------------------------------------------------------

void Player::_play(const std::shared_ptr<Run>& run)
{
    const std::lock_guard lock(_mutex);
    while (run->next < run->steps.size()) {
        const Step& step = run->steps.at(run->next++);
        if (step.kind == Step::Kind::Wait) {
            _later(run, step.words.first().value.toInt());
            return;
        }
        if (step.kind == Step::Kind::Until) {
            _waitingForCalls.emplace_back(step.words.first().value.toString(), run);
            return;
        }
        // Who leaves the network has nobody left to answer.
        if (!_do(step, *run) && qny_is_started()) {
            reportProblem(QStringLiteral("%1: %2").arg(step.service, QString::fromUtf8(qny_last_error())));
        }
    }
}

bool Player::_do(const Step& step, Run& run)
{
    QVariantList values;
    for (const Word& word : step.words) {
        values.append(_valueOf(word, run));
    }
    switch (step.kind) {
    case Step::Kind::Answer:
        return _answer(step.service, values, run);
    case Step::Kind::Token:
        run.call.token = values.at(0).toByteArray();
        return true;
    case Step::Kind::Publish:
        return Agent::publish(values.at(0).toString(), values.at(1).toDouble());
    case Step::Kind::Stream:
        _stream(values.at(0).toString(), values.at(1).toDouble(), values.at(2).toDouble(), values.at(3).toInt());
        return true;
    case Step::Kind::Stop:
        _stopStream(values.at(0).toString());
        return true;
    case Step::Kind::Chunk:
        return _answerChunk(values, run);
    case Step::Kind::Die:
        ::kill(::getpid(), SIGKILL);
        return true;
    default:
        return true;
    }
}

void Player::_later(const std::shared_ptr<Run>& run, int milliseconds)
{
    QMetaObject::invokeMethod(
        this,
        [this, run, milliseconds] {
            QTimer::singleShot(milliseconds, Qt::PreciseTimer, this, [this, run] { _play(run); });
        },
        Qt::QueuedConnection);
}

QVariant Player::_valueOf(const Word& word, const Run& run)
{
    return word.argument > 0 ? run.call.arguments.value(word.argument - 1) : word.value;
}

// ---- answers ----------------------------------------------------------------------------------------------------

bool Player::_answer(const QString& service, const QVariantList& arguments, const Run& run)
{
    return Agent::call(run.call.callerUuid.isEmpty() ? _host : run.call.callerUuid, service, arguments, run.call.token);
}

// The cursor of the request says where its chunk begins, so that nothing has to be remembered.
bool Player::_answerChunk(const QVariantList& values, const Run& run)
{
    const qint64 total = values.at(1).toLongLong();
    const qint64 first = rowOf(run.call.arguments.value(2).toString());
    const qint64 count = std::clamp<qint64>(total - first, 0, values.at(0).toLongLong());
    const qint64 next = first + count;
    return _answer(QStringLiteral("receive_export"),
        { run.call.arguments.value(0), static_cast<int>(next / 1000), next < total ? cursorAt(next) : QString(),
            GeneratedRows::range(first, count, values.value(2).toInt()) },
        run);
}

// ---- outputs ----------------------------------------------------------------------------------------------------

void Player::_stream(const QString& output, double value, double step, int milliseconds)
{
    QMetaObject::invokeMethod(this, [this, output, value, step, milliseconds] {
        _stopStream(output);
        auto* const timer = new QTimer(this);
        timer->setTimerType(Qt::PreciseTimer);
        const auto publish
            = [output, value, step, number = 0]() mutable { Agent::publish(output, value + step * number++); };
        connect(timer, &QTimer::timeout, this, publish);
        timer->start(milliseconds);
        _streams.insert(output, timer);
    });
}

void Player::_stopStream(const QString& output)
{
    QMetaObject::invokeMethod(this, [this, output] { delete _streams.take(output); });
}

} // namespace scripted
