// SPDX-License-Identifier: Apache-2.0
#include "recordfile.h"

#include "delimitedtable.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QSet>

namespace tour {

bool RecordFile::read(const QByteArray& text, QString* error)
{
    *this = RecordFile();
    QList<TableRow> rows;
    if (!readDelimitedTable(text, &rows, error)) {
        return false;
    }
    QHash<QString, qint64> lastTimes; // two senders' events may stand a little out of order, one sender's never
    for (const TableRow& row : std::as_const(rows)) {
        const auto refuse = [&](const QString& reason) {
            *error = QStringLiteral("line %1: %2").arg(row.line).arg(reason);
            return false;
        };
        if (row.fields.size() < 6) {
            return refuse(QStringLiteral("%1 fields instead of 6").arg(row.fields.size()));
        }
        bool hasTime = false;
        const TracedEvent event { row.fields.at(0), row.fields.at(3), { row.fields.at(4), row.fields.at(5) },
            row.fields.at(1).toLongLong(&hasTime), 0, row.line };
        if (!hasTime || event.timeUs < 0) {
            return refuse(QStringLiteral("\"%1\" is no time").arg(row.fields.at(1)));
        }
        const QString& kind = row.fields.at(2);
        if (kind == QLatin1String("record")) {
            _facts.insert(event.output, event.value.text);
        } else if (kind == QLatin1String("agent")) {
            _definitions.insert(event.agent, event.value.text);
        } else if (kind == QLatin1String("initial") || kind == QLatin1String("output")) {
            if (!event.value.isValid()) {
                return refuse(QStringLiteral("\"%1\" is no %2").arg(event.value.text.left(40), event.value.type));
            }
            if (kind == QLatin1String("initial")) {
                _initialValues.append(event);
                continue;
            }
            qint64& last = lastTimes[event.agent];
            if (event.timeUs < last) {
                return refuse(
                    QStringLiteral("time %1 of %2 follows time %3").arg(event.timeUs).arg(event.agent).arg(last));
            }
            last = event.timeUs;
            _events.append(event);
        } else {
            return refuse(QStringLiteral("unknown kind \"%1\"").arg(kind));
        }
    }
    if (!_facts.contains(QStringLiteral("version"))) {
        *error = QStringLiteral("the record tells no version");
        return false;
    }
    return true;
}

bool RecordFile::readFile(const QString& path, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("%1 cannot be read: %2").arg(path, file.errorString());
        return false;
    }
    QString reason;
    if (!read(file.readAll(), &reason)) {
        *error = QStringLiteral("%1: %2").arg(path, reason);
        return false;
    }
    return true;
}

QStringList RecordFile::agents() const
{
    QSet<QString> names(_definitions.keyBegin(), _definitions.keyEnd());
    for (const TracedEvent& event : _events) {
        names.insert(event.agent);
    }
    QStringList sorted(names.cbegin(), names.cend());
    sorted.sort();
    return sorted;
}

double RecordFile::durationInSeconds() const
{
    return _facts.value(QStringLiteral("duration_us")).toDouble() / 1e6;
}

QHash<QString, qsizetype> RecordFile::losses() const
{
    QHash<QString, qsizetype> losses;
    const QJsonObject completeness
        = QJsonDocument::fromJson(_facts.value(QStringLiteral("completeness")).toUtf8()).object();
    for (const QJsonValue& value : completeness.value(QLatin1String("outputs")).toArray()) {
        const QJsonObject output = value.toObject();
        qsizetype& sum = losses[output.value(QLatin1String("agent")).toString() + QLatin1Char('/')
            + output.value(QLatin1String("output")).toString()];
        const QJsonObject lost = output.value(QLatin1String("lost")).toObject();
        for (const QJsonValue& count : lost) {
            sum += static_cast<qsizetype>(count.toInteger());
        }
    }
    return losses;
}

QByteArray withoutNameFact(const QByteArray& text)
{
    QByteArray kept;
    for (const QByteArray& line : text.split('\n')) {
        const QList<QByteArray> fields = line.split(';');
        const bool isName = fields.size() >= 4 && fields.at(2) == "record" && fields.at(3) == "name";
        if (!isName) {
            kept += line + '\n';
        }
    }
    return kept;
}

QString describeDifference(const QByteArray& left, const QByteArray& right)
{
    if (left == right) {
        return QStringLiteral("the same");
    }
    const QList<QByteArray> leftLines = left.split('\n');
    const QList<QByteArray> rightLines = right.split('\n');
    qsizetype line = 0;
    while (line < leftLines.size() && line < rightLines.size() && leftLines.at(line) == rightLines.at(line)) {
        ++line;
    }
    const auto lineOf = [line](const QList<QByteArray>& lines) {
        return line < lines.size() ? QString::fromUtf8(lines.at(line).left(80)) : QStringLiteral("(nothing)");
    };
    return QStringLiteral("line %1 differs: \"%2\" and \"%3\"")
        .arg(line + 1)
        .arg(lineOf(leftLines), lineOf(rightLines));
}

} // namespace tour
