// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <optional>

/// What a scripted recorder does, in lines of text:
///
///     # a comment
///     on SERVICE: STEP; STEP …      what each call of the service sets off; the last such line holds
///     on SERVICE #3: STEP; …        the same for its third call only
///     for SERVICE: STEP; …          done now, as if for the last call of the service
///     STEP; STEP …                  done now, as if for the last call of all
///     report                        tells which rows came in imports since the last report
///
/// Steps:
///
///     ANSWER WORD …                 calls a reply service of the caller with the token of the call
///     token WORD                    the answers that follow carry this token instead
///     wait MS                       goes on after so many milliseconds
///     until SERVICE                 goes on when the service is called next
///     publish OUTPUT VALUE
///     stream OUTPUT FROM STEP MS    publishes FROM, FROM + STEP, … one every MS milliseconds
///     stop OUTPUT                   ends its stream
///     chunk ROWS TOTAL [PADDING]    answers an export with the next ROWS of TOTAL rows, each longer by PADDING bytes
///     nothing
///     die                           ends this process as a crash does
///
/// A word is 12 (an integer), 1.5 (a double), true, false, "a text", a JSON array or object (passed as text), $2 (the
/// second argument of the call) or anything else without blanks (a text).
namespace scripted {

/// A value, or the number of an argument of the call, from 1 on.
struct Word
{
    QVariant value;
    int argument = 0;
};

struct Step
{
    enum class Kind
    {
        Answer,
        Token,
        Wait,
        Until,
        Publish,
        Stream,
        Stop,
        Chunk,
        Nothing,
        Die
    };
    Kind kind = Kind::Nothing;
    /// Of the reply service that an answer calls.
    QString service;
    QList<Word> words;
};

struct Line
{
    enum class Kind
    {
        Empty,
        On,
        For,
        Now,
        Report
    };
    Kind kind = Kind::Empty;
    QString service;
    /// Of a rule: which call of the service it is for; 0 for every one.
    int occurrence = 0;
    QList<Step> steps;
};

/// Nothing, and a sentence, for a line that is none.
std::optional<Line> parseLine(const QString& text, QString& problem);

} // namespace scripted
