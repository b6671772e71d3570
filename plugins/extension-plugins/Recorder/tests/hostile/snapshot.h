// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

class RecorderModule;

/// Everything that can be seen of a module at one moment, as texts under a path each: every property of the module, its
/// recorders, their instances, records, agents and speeds, read through their meta-objects, together with what they
/// show without a property, the tables by which answers are routed, the texts kept in the document, and what is
/// declared on the network.
///
/// A recorder's path is its name, its instances' "Name[0]" and on; "Rec[0].records[1].agentsFilters[0].checked".
class Snapshot
{
public:
    explicit Snapshot(RecorderModule& module);

    QString value(const QString& path) const { return _values.value(path); }
    bool isTrue(const QString& path) const { return value(path) == QStringLiteral("true"); }
    int rows(const QString& path) const { return value(path).section(u' ', 0, 0).toInt(); }

    /// What a test expects to be different later.
    void set(const QString& path, const QString& value) { _values.insert(path, value); }
    /// Nothing whose path begins like this is there any more.
    void removeUnder(const QString& prefix);
    /// The other way: copies what is under a path to another.
    void copyUnder(const QString& prefix, const QString& newPrefix);

    /// What is not the same, see change(). Of long texts only the beginning is shown.
    QStringList changesTo(const Snapshot& later) const;

    /// What a snapshot looks at, with the paths.
    static QList<std::pair<QString, QObject*>> objectsOf(RecorderModule& module);

private:
    QMap<QString, QString> _values;
};

/// One line of changesTo().
QString change(const QString& path, const QString& before, const QString& after);
/// Lines in the order of changesTo().
QStringList sorted(QStringList changes);
