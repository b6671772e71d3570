// SPDX-License-Identifier: Apache-2.0
#include "script.h"

#include <QtCore/QHash>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>

namespace scripted {

namespace {

struct Verb
{
    Step::Kind kind;
    qsizetype leastWords;
    qsizetype mostWords;
};

const QHash<QString, Verb>& verbs()
{
    using Kind = Step::Kind;
    static const QHash<QString, Verb> table = {
        { "token", { Kind::Token, 1, 1 } },
        { "wait", { Kind::Wait, 1, 1 } },
        { "until", { Kind::Until, 1, 1 } },
        { "publish", { Kind::Publish, 2, 2 } },
        { "stream", { Kind::Stream, 4, 4 } },
        { "stop", { Kind::Stop, 1, 1 } },
        { "chunk", { Kind::Chunk, 2, 3 } },
        { "nothing", { Kind::Nothing, 0, 0 } },
        { "die", { Kind::Die, 0, 0 } },
        { "context", { Kind::Answer, 0, 9 } },
        { "records", { Kind::Answer, 0, 9 } },
        { "record_uuid", { Kind::Answer, 0, 9 } },
        { "recording_stopped", { Kind::Answer, 0, 9 } },
        { "record_filters", { Kind::Answer, 0, 9 } },
        { "unloaded", { Kind::Answer, 0, 9 } },
        { "loading", { Kind::Answer, 0, 9 } },
        { "loaded", { Kind::Answer, 0, 9 } },
        { "loading_failed", { Kind::Answer, 0, 9 } },
        { "filter_applied", { Kind::Answer, 0, 9 } },
        { "paused", { Kind::Answer, 0, 9 } },
        { "moved_to", { Kind::Answer, 0, 9 } },
        { "receive_export", { Kind::Answer, 0, 9 } },
        { "replay_ended", { Kind::Answer, 0, 9 } },
    };
    return table;
}

// Cuts at the separator where it stands in no quotes and no brackets. Empty pieces are dropped.
QStringList cut(const QString& text, QChar separator)
{
    QStringList pieces;
    QString piece;
    bool inQuotes = false;
    int depth = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (inQuotes && c == u'\\' && i + 1 < text.size()) {
            piece += c;
            piece += text.at(++i);
            continue;
        }
        if (c == u'"') {
            inQuotes = !inQuotes;
        } else if (!inQuotes && (c == u'[' || c == u'{')) {
            ++depth;
        } else if (!inQuotes && (c == u']' || c == u'}')) {
            --depth;
        } else if (c == separator && !inQuotes && depth == 0) {
            pieces.append(piece.trimmed());
            piece.clear();
            continue;
        }
        piece += c;
    }
    pieces.append(piece.trimmed());
    pieces.removeAll(QString());
    return pieces;
}

std::optional<Word> parseWord(const QString& text, QString& problem)
{
    static const QRegularExpression integer(QStringLiteral("^-?[0-9]+$"));
    static const QRegularExpression real(QStringLiteral("^-?[0-9]+\\.[0-9]+(e-?[0-9]+)?$"));
    static const QRegularExpression argument(QStringLiteral("^\\$[1-9]$"));
    if (argument.match(text).hasMatch()) {
        return Word { QVariant(), text.mid(1).toInt() };
    }
    if (integer.match(text).hasMatch()) {
        return Word { text.toInt() };
    }
    if (real.match(text).hasMatch()) {
        return Word { text.toDouble() };
    }
    if (text == QLatin1StringView("true") || text == QLatin1StringView("false")) {
        return Word { text == QLatin1StringView("true") };
    }
    if (text.startsWith(u'"')) {
        const QJsonDocument quoted = QJsonDocument::fromJson("[" + text.toUtf8() + "]");
        if (quoted.array().size() != 1) {
            problem = QStringLiteral("%1 is no text in quotes").arg(text);
            return std::nullopt;
        }
        return Word { quoted.array().first().toString() };
    }
    return Word { text };
}

std::optional<Step> parseStep(const QString& text, QString& problem)
{
    QStringList words = cut(text, u' ');
    const QString name = words.takeFirst();
    const auto verb = verbs().constFind(name);
    if (verb == verbs().cend()) {
        problem = QStringLiteral("\"%1\" is neither a step nor an answer").arg(name);
        return std::nullopt;
    }
    if (words.size() < verb->leastWords || words.size() > verb->mostWords) {
        problem = QStringLiteral("\"%1\" takes %2 to %3 words").arg(name).arg(verb->leastWords).arg(verb->mostWords);
        return std::nullopt;
    }
    Step step { verb->kind, name, {} };
    for (const QString& each : std::as_const(words)) {
        const std::optional<Word> word = parseWord(each, problem);
        if (!word) {
            return std::nullopt;
        }
        step.words.append(*word);
    }
    return step;
}

} // namespace

std::optional<Line> parseLine(const QString& text, QString& problem)
{
    Line line;
    QString steps = text.trimmed();
    if (steps.isEmpty() || steps.startsWith(u'#')) {
        return line;
    }
    if (steps == QLatin1StringView("report")) {
        line.kind = Line::Kind::Report;
        return line;
    }
    static const QRegularExpression prefix(QStringLiteral("^(on|for) +([a-z_]+) *(?:#([1-9][0-9]*))? *:"));
    const QRegularExpressionMatch match = prefix.match(steps);
    line.kind = Line::Kind::Now;
    if (match.hasMatch()) {
        line.kind = match.captured(1) == QLatin1StringView("on") ? Line::Kind::On : Line::Kind::For;
        line.service = match.captured(2);
        line.occurrence = match.captured(3).toInt();
        steps = steps.mid(match.capturedEnd());
    }
    const QStringList pieces = cut(steps, u';');
    if (pieces.isEmpty()) {
        problem = QStringLiteral("the line has no step; \"nothing\" does nothing");
        return std::nullopt;
    }
    for (const QString& piece : pieces) {
        const std::optional<Step> step = parseStep(piece, problem);
        if (!step) {
            return std::nullopt;
        }
        line.steps.append(*step);
    }
    return line;
}

} // namespace scripted
