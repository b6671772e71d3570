// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QString>
#include <QStringList>

class SplitCommandLine;

/// Helpers on command lines, names and times. Any thread.
class CORVANE_EXPORT CorvaneUtils
{
public:
    /// Whether two command lines launch the same agent: the same canonical program and the same arguments, as
    /// QProcess::splitCommand() gives them; a masked value equals any.
    static bool commandLinesEqual(const QString& left, const QString& right);
    /// For a line that is compared with many.
    static bool commandLinesEqual(const SplitCommandLine& left, const SplitCommandLine& right);
    /// A command line that QProcess::splitCommand() takes apart into these again. An empty argument cannot be written
    /// and is left out.
    static QString joinCommand(const QString& program, const QStringList& arguments);
    /// One argument, quoted where needed.
    static QString quoteArgument(const QString& argument);

    /// A name that the network accepts for an agent, made of this text: characters that it does not accept become "_",
    /// blanks at the ends go. Empty only for a text without a visible character.
    static QString cleanAgentName(const QString& name);

    /// Whether the text is a uuid (other than the null one), with or without braces.
    static bool isAUuid(const QString& text);

    /// Milliseconds of "hh:mm:ss.zzz", "mm:ss.zzz" or "ss.zzz", the fraction being optional and cut after milliseconds.
    /// The first number may be of any size, the others stay below 60. Negative for any other text.
    static qint64 durationStringToMs(const QString& text);

    // ---- options of a command line, in corvaneutils_options.cpp
    //
    // `longOption` as "--verbose", `shortOption` as "-v" or empty. "--opt value", "--opt=value", "-o value",
    // "-o=value",
    // "-ovalue" and groups of short ones, as "-v5" or "-vovalue", are recognised; what comes after a lone "--" is not
    // looked at.
    //
    // What stands after an option with a value is no option, whatever it looks like. Which options have one is known of
    // recorders, the default; for other programs hand over what is known.

    /// The options of a recorder that take a value, long and short.
    static const QStringList& recorderOptionsWithValue();
    /// The line with or without an option that takes no value. A line that is right already is returned as it is.
    static QString updateCommandLineWithNoArgumentOptionFor(const QString& commandLine, const QString& longOption,
        const QString& shortOption, bool present, const QStringList& optionsWithValue = recorderOptionsWithValue());
    /// The line with this value for the option, at the place where the option stood or else at the end; an empty value
    /// takes the option out.
    static QString updateCommandLineWithArgumentOptionFor(const QString& commandLine, const QString& longOption,
        const QString& shortOption, const QString& value,
        const QStringList& optionsWithValue = recorderOptionsWithValue());
    /// The option's value in the line, the last one when it is given several times; null without.
    static QString optionValue(const QString& commandLine, const QString& longOption, const QString& shortOption,
        const QStringList& optionsWithValue = recorderOptionsWithValue());
};
