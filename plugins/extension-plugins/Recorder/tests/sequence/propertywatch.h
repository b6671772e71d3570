// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtCore/QSet>
#include <QtCore/QVariant>

/// Sees whether an object keeps what its properties promise: one that has a notify signal changes with that signal only.
/// Belongs to the object.
class PropertyWatch : public QObject
{
    Q_OBJECT

public:
    /// Watches the object from now on, unless it is watched already.
    static void watch(QObject* object);
    /// Names of properties of a watched object that changed without a word since the last time.
    static QStringList silentChanges(const QObject* object);

private Q_SLOTS:
    void _onNotify();

private:
    explicit PropertyWatch(QObject* object);
    void _look(QStringList* silent);

    /// By index of property.
    QHash<int, QVariant> _values;
    /// Indices of the signals that came since.
    QSet<int> _notified;
};
