// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

/// One of the services by which a recorder answers, as the tests expect it to be.
struct Reply
{
    QString service;
    /// Arguments as a recorder of good will sends them.
    QVariantList arguments;
    /// What a wrong number of arguments is answered with; empty where any number is taken.
    QString countMismatch;
    /// What a wrong type is answered with, for each argument.
    QStringList typeMismatches;
    /// What an id that no instance has is answered with, up to the id; empty where the id plays no part.
    QString unknownId;
    /// What follows the id in the token.
    QString tokenSuffix;
};

/// The fourteen, in the order in which they are declared.
const QList<Reply>& replies();
const Reply& replyOf(const QString& service);

/// One value of each type that the network has, and more than it has: true, 1, 1.5, a text, bytes, no bytes, an
/// impulse, a type that does not exist.
struct TypedValue
{
    const char* type;
    QVariant value;
};
QList<TypedValue> valuesOfEveryType();
/// The name of a good argument's type among these.
QString typeOf(const QVariant& argument);

/// The start in the replies below.
inline const QString REPLIED_START = QStringLiteral("2026-11-21T10:00:00.000");
/// Where a snapshot has the record of the file that they name.
inline const QString FILE_RECORD = QStringLiteral("Rec[0].recordFromFile.");
/// Arguments of "context" and of "loaded" for a file of three seconds with agents a and b; some of them, from a
/// position on, as they are given here.
QVariantList contextOfFile(const QVariantList& changed = {}, qsizetype position = 0);
QVariantList loadedFile(const QVariantList& changed = {}, qsizetype position = 0);
