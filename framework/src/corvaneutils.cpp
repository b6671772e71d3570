// SPDX-License-Identifier: Apache-2.0
#include "corvaneutils.h"

#include "splitcommandline.h"

#include <QRegularExpression>
#include <QUuid>

namespace {

constexpr qsizetype MAXIMUM_NAME_BYTES = 255;

} // namespace

bool CorvaneUtils::commandLinesEqual(const QString& left, const QString& right)
{
    return left == right || commandLinesEqual(SplitCommandLine(left), SplitCommandLine(right));
}

bool CorvaneUtils::commandLinesEqual(const SplitCommandLine& left, const SplitCommandLine& right)
{
    return left.launchesSameAs(right);
}

QString CorvaneUtils::quoteArgument(const QString& argument)
{
    // A quote inside is written three times. It needs no surrounding quotes by itself; a blank does.
    QString quoted = argument;
    quoted.replace(u'"', QLatin1String("\"\"\""));
    for (const QChar character : argument) {
        if (character.isSpace()) {
            return u'"' + quoted + u'"';
        }
    }
    return quoted;
}

QString CorvaneUtils::joinCommand(const QString& program, const QStringList& arguments)
{
    QString line = quoteArgument(program);
    for (const QString& argument : arguments) {
        if (!argument.isEmpty()) {
            line += u' ' + quoteArgument(argument);
        }
    }
    return line;
}

QString CorvaneUtils::cleanAgentName(const QString& name)
{
    static const QString REFUSED = QStringLiteral("\"\\/*?#");
    QString clean;
    clean.reserve(name.size());
    for (qsizetype i = 0; i < name.size(); ++i) {
        const QChar character = name.at(i);
        if (character.isHighSurrogate() && i + 1 < name.size() && name.at(i + 1).isLowSurrogate()) {
            clean += character;
            clean += name.at(++i);
        } else if (character.isSurrogate()) {
            clean += QChar(QChar::ReplacementCharacter); // half a character: not valid UTF-8 on the network
        } else if (character.category() == QChar::Other_Control) {
            clean += u' '; // tabs and line ends part words
        } else if (REFUSED.contains(character)) {
            clean += u'_';
        } else {
            clean += character;
        }
    }
    clean = clean.trimmed();
    if (clean.startsWith(u'-')) {
        clean[0] = u'_';
    }
    while (clean.toUtf8().size() > MAXIMUM_NAME_BYTES) {
        clean.chop(clean.at(clean.size() - 1).isLowSurrogate() ? 2 : 1);
    }
    return clean.trimmed();
}

bool CorvaneUtils::isAUuid(const QString& text)
{
    // QUuid also reads texts that go on after a uuid.
    static const QRegularExpression UUID(QStringLiteral(
        "\\A(\\{)?[0-9a-fA-F]{8}-[0-9a-fA-F]{4}-[0-9a-fA-F]{4}-[0-9a-fA-F]{4}-[0-9a-fA-F]{12}(?(1)\\})\\z"));
    return UUID.match(text).hasMatch() && !QUuid::fromString(text).isNull();
}

qint64 CorvaneUtils::durationStringToMs(const QString& text)
{
    static const QRegularExpression DURATION(
        QStringLiteral("\\A(?:(?:([0-9]{1,9}):)?([0-9]{1,9}):)?([0-9]{1,9})(?:\\.([0-9]{1,9}))?\\z"));
    const QRegularExpressionMatch match = DURATION.match(text.trimmed());
    if (!match.hasMatch()) {
        return -1;
    }
    const bool hasHours = match.hasCaptured(1);
    const bool hasMinutes = match.hasCaptured(2);
    const qint64 hours = match.captured(1).toLongLong();
    const qint64 minutes = match.captured(2).toLongLong();
    const qint64 seconds = match.captured(3).toLongLong();
    if ((hasHours && minutes > 59) || (hasMinutes && seconds > 59)) {
        return -1;
    }
    const qint64 milliseconds = match.captured(4).leftJustified(3, u'0', true).toLongLong();
    return ((hours * 60 + minutes) * 60 + seconds) * 1000 + milliseconds;
}
