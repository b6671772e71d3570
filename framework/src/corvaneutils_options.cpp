// SPDX-License-Identifier: Apache-2.0
#include "corvaneutils.h"

#include <QProcess>

namespace {

// An option where it stands among the parts of a command line.
struct Option
{
    QString name; // "--name" or "-n"
    QString value; // null for one without
    qsizetype part = 0;
    qsizetype letter = 0; // of a short one: where it stands in its part, which begins with the dash
    qsizetype length = 0; // what it takes of its part, from the letter on
    bool takesNextPart = false;
};

// The same reading as QCommandLineParser's, which the programs use: short options may stand in one part, options end at
// a lone "--", and the first part is the program.
class OptionReader
{
public:
    OptionReader(const QStringList& parts, const QStringList& optionsWithValue)
        : _parts(parts)
        , _optionsWithValue(optionsWithValue)
    {
        for (_part = 1; _part < _parts.size() && _parts.at(_part) != QLatin1String("--"); ++_part) {
            const QString& part = _parts.at(_part);
            if (part.startsWith(QLatin1String("--"))) {
                const qsizetype end = part.indexOf(u'=');
                _read(end < 0 ? part : part.first(end), 0, end < 0 ? part.size() : end);
            } else if (part.startsWith(u'-')) {
                for (qsizetype letter = 1; letter < part.size(); letter += _options.constLast().length) {
                    _read(QStringLiteral("-") + part.at(letter), letter, letter + 1);
                }
            }
        }
    }

    // Where another option can stand: behind the last option and its value. One whose value is missing would take it.
    qsizetype end() const { return _lacksValue ? _part - 1 : _part; }

    // Every place of one option, in order.
    QList<Option> find(const QString& longOption, const QString& shortOption) const
    {
        QList<Option> found = _options;
        found.removeIf([&](const Option& option) { return option.name != longOption && option.name != shortOption; });
        return found;
    }

private:
    void _read(const QString& name, qsizetype from, qsizetype end)
    {
        const QString part = _parts.at(_part);
        Option option { name, QString(), _part, from, end - from, false };
        const bool hasValue = _optionsWithValue.contains(name);
        if (end < part.size() && (hasValue || part.at(end) == u'=')) {
            option.value = part.sliced(part.at(end) == u'=' ? end + 1 : end);
            option.length = part.size() - from;
        } else if (hasValue && _part + 1 < _parts.size()) {
            option.value = _parts.at(++_part);
            option.takesNextPart = true;
        } else {
            _lacksValue = hasValue;
        }
        _options.append(option);
    }

    const QStringList _parts;
    const QStringList _optionsWithValue;
    qsizetype _part = 0;
    bool _lacksValue = false; // the last part, which is an option
    QList<Option> _options;
};

// Takes it out, and leaves the other short options of its part. Those behind it must be gone already.
void removeOption(QStringList& parts, const Option& option)
{
    if (option.takesNextPart) {
        parts.removeAt(option.part + 1);
    }
    QString& part = parts[option.part];
    part.remove(option.letter, option.length);
    if (part.isEmpty() || part == QLatin1String("-")) {
        parts.removeAt(option.part);
    }
}

QString joinParts(const QStringList& parts)
{
    return parts.isEmpty() ? QString() : CorvaneUtils::joinCommand(parts.constFirst(), parts.mid(1));
}

} // namespace

const QStringList& CorvaneUtils::recorderOptionsWithValue()
{
    static const QStringList OPTIONS { QStringLiteral("--name"), QStringLiteral("-n"), QStringLiteral("--cassandra"),
        QStringLiteral("-c"), QStringLiteral("--keyspace"), QStringLiteral("-k"),
        QStringLiteral("--cassandra_username"), QStringLiteral("-u"), QStringLiteral("--cassandra_password"),
        QStringLiteral("-a"), QStringLiteral("--qnyCert"), QStringLiteral("-1"), QStringLiteral("--publicCerts"),
        QStringLiteral("-2"), QStringLiteral("--device"), QStringLiteral("--port"), QStringLiteral("--peers"),
        QStringLiteral("--data-directory"), QStringLiteral("--replication"), QStringLiteral("--consistency"),
        QStringLiteral("--tls-ca"), QStringLiteral("--spill-limit"), QStringLiteral("--operators") };
    return OPTIONS;
}

QString CorvaneUtils::updateCommandLineWithNoArgumentOptionFor(const QString& commandLine, const QString& longOption,
    const QString& shortOption, bool present, const QStringList& optionsWithValue)
{
    QStringList parts = QProcess::splitCommand(commandLine);
    if (parts.isEmpty()) {
        return commandLine; // options of no program
    }
    const OptionReader reader(parts, optionsWithValue);
    const QList<Option> options = reader.find(longOption, shortOption);
    if (options.isEmpty() != present) {
        return commandLine;
    }
    if (present) {
        parts.insert(reader.end(), longOption.isEmpty() ? shortOption : longOption);
    }
    for (auto option = options.crbegin(); option != options.crend(); ++option) {
        removeOption(parts, *option);
    }
    return joinParts(parts);
}

QString CorvaneUtils::updateCommandLineWithArgumentOptionFor(const QString& commandLine, const QString& longOption,
    const QString& shortOption, const QString& value, const QStringList& optionsWithValue)
{
    QStringList parts = QProcess::splitCommand(commandLine);
    if (parts.isEmpty()) {
        return commandLine; // options of no program
    }
    const OptionReader reader(parts, optionsWithValue + QStringList { longOption, shortOption });
    const QList<Option> options = reader.find(longOption, shortOption);
    if (options.isEmpty() && value.isEmpty()) {
        return commandLine;
    }
    if (options.size() == 1 && !value.isEmpty() && options.constFirst().value == value) {
        return commandLine;
    }

    for (auto option = options.crbegin(); option != options.crend(); ++option) {
        removeOption(parts, *option);
    }
    if (!value.isEmpty()) {
        qsizetype place = reader.end();
        if (!options.isEmpty()) {
            const Option& first = options.constFirst();
            // Behind the short options that stood before it in its part.
            place = first.part + (first.letter > 1 ? 1 : 0);
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

QString CorvaneUtils::optionValue(const QString& commandLine, const QString& longOption, const QString& shortOption,
    const QStringList& optionsWithValue)
{
    const QStringList parts = QProcess::splitCommand(commandLine);
    const QList<Option> options
        = OptionReader(parts, optionsWithValue + QStringList { longOption, shortOption }).find(longOption, shortOption);
    return options.isEmpty() ? QString() : options.constLast().value;
}
