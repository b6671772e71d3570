// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_ENDTOEND_ARROWS_H
#define TESTS_ENDTOEND_ARROWS_H

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>

// One folder of the source tree with its rules.
struct Room
{
    QString folder; // "plugins/extension-plugins/Recorder"
    QString target; // the CMake target by which others link it; empty for programs and plugins
    QSet<QString> mayUse; // targets of other rooms
    bool mayUseQt = true;
};

// A use of one room by another, or of Qt, with the place where it is written.
struct Arrow
{
    QString from; // folder
    QString to; // target of the other room, "Qt", or the folder of a room that nobody may use
    QString place; // "host/main.cpp:12"
};

// The table of docs/architecture.md: rows "| `folder/` | target | what it may use |". A room may use what its row
// names; it may use Qt when its row names Qt, or a room that does. Empty when the text has no such table.
QList<Room> readRooms(const QString& architecture);

// Reads the #include lines and the target_link_libraries of every room below the root, without its tests. A header
// belongs to the room in whose folder it lies; names that lie in several rooms are taken as the room's own where it has
// one.
QList<Arrow> readArrows(const QString& root, const QList<Room>& rooms);

// The arrows that the rules do not allow.
QList<Arrow> forbidden(const QList<Arrow>& arrows, const QList<Room>& rooms);

#endif
