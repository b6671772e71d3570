// SPDX-License-Identifier: Apache-2.0
#include "corvaneutils.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QUuid>

namespace {

constexpr qsizetype MAXIMUM_NAME_BYTES = 255;

// The same file for two spellings of its path, also for programs of other machines, which do not exist here.
QString canonicalProgram(const QString& program)
{
    const QString canonical = QFileInfo(program).canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(program) : canonical;
}

// "********" stands alone after "--password", and at the end of "--password=********" and "-a********".
bool argumentsEqual(const QString& left, const QString& right)
{
    if (left == right) {
        return true;
    }
    const auto isMaskOf = [](const QString& masked, const QString& other) {
        return masked.endsWith(CorvaneUtils::MASKED_VALUE)
            && other.startsWith(QStringView(masked).chopped(CorvaneUtils::MASKED_VALUE.size()));
    };
    return isMaskOf(left, right) || isMaskOf(right, left);
}

// Where an option with a value stands among the parts of a command line.
struct FoundOption
{
    qsizetype index = -1;
    qsizetype count = 0; // parts that it takes: 1 or 2
    QString value;
    bool isFound() const { return index >= 0; }
};

// Options end at a lone "--"; the first part is the program.
qsizetype endOfOptions(const QStringList& parts)
{
    const qsizetype end = parts.indexOf(QStringLiteral("--"), 1);
    return end < 0 ? parts.size() : end;
}

FoundOption findOption(const QStringList& parts, qsizetype from, const QString& longOption, const QString& shortOption)
{
    const qsizetype end = endOfOptions(parts);
    for (qsizetype i = from; i < end; ++i) {
        const QString& part = parts.at(i);
        if ((!longOption.isEmpty() && part == longOption) || (!shortOption.isEmpty() && part == shortOption)) {
            const bool hasValue = i + 1 < parts.size();
            return { i, hasValue ? 2 : 1, hasValue ? parts.at(i + 1) : QString() };
        }
        if (!longOption.isEmpty() && part.startsWith(longOption + u'=')) {
            return { i, 1, part.mid(longOption.size() + 1) };
        }
        if (!shortOption.isEmpty() && part.startsWith(shortOption) && !part.startsWith(QLatin1String("--"))) {
            QString value = part.mid(shortOption.size());
            if (value.startsWith(u'=')) {
                value.remove(0, 1);
            }
            return { i, 1, value };
        }
    }
    return {};
}

QString joinParts(const QStringList& parts)
{
    return parts.isEmpty() ? QString() : CorvaneUtils::joinCommand(parts.constFirst(), parts.mid(1));
}

} // namespace

const QString CorvaneUtils::MASKED_VALUE = QStringLiteral("********");

bool CorvaneUtils::commandLinesEqual(const QString& left, const QString& right)
{
    if (left == right) {
        return true;
    }
    const QStringList leftParts = QProcess::splitCommand(left);
    const QStringList rightParts = QProcess::splitCommand(right);
    if (leftParts.size() != rightParts.size()) {
        return false;
    }
    if (leftParts.isEmpty()) {
        return true;
    }
    for (qsizetype i = 1; i < leftParts.size(); ++i) {
        if (!argumentsEqual(leftParts.at(i), rightParts.at(i))) {
            return false;
        }
    }
    // Last, because it asks the file system.
    return leftParts.constFirst() == rightParts.constFirst()
        || canonicalProgram(leftParts.constFirst()) == canonicalProgram(rightParts.constFirst());
}

bool CorvaneUtils::hasMaskedValue(const QString& commandLine)
{
    const QStringList parts = QProcess::splitCommand(commandLine);
    for (qsizetype i = 1; i < parts.size(); ++i) {
        if (parts.at(i).endsWith(MASKED_VALUE)) {
            return true;
        }
    }
    return false;
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

QString CorvaneUtils::updateCommandLineWithNoArgumentOptionFor(
    const QString& commandLine, const QString& longOption, const QString& shortOption, bool present)
{
    QStringList parts = QProcess::splitCommand(commandLine);
    if (parts.isEmpty()) {
        return commandLine; // options of no program
    }
    const qsizetype end = endOfOptions(parts);
    // "-v" may stand before other flags in one part, as in "-v5".
    const auto isShort = [&shortOption](const QString& part) {
        return !shortOption.isEmpty() && part.startsWith(shortOption) && !part.startsWith(QLatin1String("--"));
    };
    bool isThere = false;
    for (qsizetype i = end - 1; i >= 1; --i) {
        const QString part = parts.at(i);
        if ((longOption.isEmpty() || part != longOption) && !isShort(part)) {
            continue;
        }
        isThere = true;
        if (present) {
            break;
        }
        const QString otherFlags = part == longOption ? QString() : part.mid(shortOption.size());
        if (otherFlags.isEmpty()) {
            parts.removeAt(i);
        } else {
            parts[i] = u'-' + otherFlags;
        }
    }
    if (isThere == present) {
        return commandLine;
    }
    if (present) {
        parts.insert(end, longOption.isEmpty() ? shortOption : longOption);
    }
    return joinParts(parts);
}

QString CorvaneUtils::updateCommandLineWithArgumentOptionFor(
    const QString& commandLine, const QString& longOption, const QString& shortOption, const QString& value)
{
    QStringList parts = QProcess::splitCommand(commandLine);
    if (parts.isEmpty()) {
        return commandLine; // options of no program
    }
    FoundOption option = findOption(parts, 1, longOption, shortOption);
    if (!option.isFound() && value.isEmpty()) {
        return commandLine;
    }
    if (option.isFound() && !value.isEmpty() && option.value == value
        && !findOption(parts, option.index + option.count, longOption, shortOption).isFound()) {
        return commandLine;
    }

    qsizetype place = option.isFound() ? option.index : -1;
    while (option.isFound()) {
        parts.remove(option.index, option.count);
        option = findOption(parts, option.index, longOption, shortOption);
    }
    if (!value.isEmpty()) {
        if (place < 0) {
            place = endOfOptions(parts);
        }
        const QString& name = longOption.isEmpty() ? shortOption : longOption;
        if (!value.startsWith(u'-')) {
            parts.insert(place, value);
            parts.insert(place, name);
        } else if (!longOption.isEmpty()) {
            parts.insert(place, name + u'=' + value); // apart, it would look like an option
        } else {
            parts.insert(place, name + value);
        }
    }
    return joinParts(parts);
}

QString CorvaneUtils::optionValue(const QString& commandLine, const QString& longOption, const QString& shortOption)
{
    const QStringList parts = QProcess::splitCommand(commandLine);
    QString value;
    FoundOption option = findOption(parts, 1, longOption, shortOption);
    while (option.isFound()) {
        value = option.value;
        option = findOption(parts, option.index + option.count, longOption, shortOption);
    }
    return value;
}
