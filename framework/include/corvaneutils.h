// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QString>
#include <QStringList>

/// Helpers on command lines, names and times. Any thread.
class CORVANE_EXPORT CorvaneUtils
{
public:
    /// What the network shows in place of a password.
    static const QString MASKED_VALUE;

    /// Whether two command lines launch the same agent: the same canonical program and the same arguments, as
    /// QProcess::splitCommand() gives them; a masked value equals any.
    static bool commandLinesEqual(const QString& left, const QString& right);
    /// Whether a value of the line is masked, so that it cannot be launched as it stands.
    static bool hasMaskedValue(const QString& commandLine);
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

    /// The line with or without an option that takes no value. `longOption` as "--verbose", `shortOption` as "-v" or
    /// empty. A line that is right already is returned as it is.
    static QString updateCommandLineWithNoArgumentOptionFor(
        const QString& commandLine, const QString& longOption, const QString& shortOption, bool present);
    /// The line with this value for the option, at the place where the option stood or else at the end; an empty value
    /// takes the option out. "--opt value", "--opt=value", "-o value", "-o=value" and "-ovalue" are recognised; what
    /// comes after a lone
    /// "--" is not looked at.
    static QString updateCommandLineWithArgumentOptionFor(
        const QString& commandLine, const QString& longOption, const QString& shortOption, const QString& value);
    /// The option's value in the line, the last one when it is given several times; null without.
    static QString optionValue(const QString& commandLine, const QString& longOption, const QString& shortOption);
};
