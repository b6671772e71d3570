// SPDX-License-Identifier: Apache-2.0
#include "arrows.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QRegularExpression>

namespace {

// Rooms by the word that the table's third column uses for them, and by the CMake target behind it.
const QHash<QString, QString> targetsByWord { { "quenary", "quenary" }, { "quenary.h", "quenary" },
    { "toolkit", "ZqToolkit" }, { "framework", "CorvaneFramework" } };

QString readText(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QStringList filesBelow(const QString& folder, const QStringList& patterns)
{
    QStringList files;
    QDirIterator iterator(folder, patterns, QDir::Files, QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        const QString path = iterator.next();
        if (!path.contains(QStringLiteral("/tests/"))) {
            files.append(path);
        }
    }
    files.sort();
    return files;
}

class ArrowReader
{
public:
    ArrowReader(const QString& root, const QList<Room>& rooms)
        : _root(root)
        , _rooms(rooms)
    {
        for (const Room& room : rooms) {
            const QStringList headers = filesBelow(_root.filePath(room.folder), { "*.h", "*.hpp" });
            for (const QString& header : headers) {
                _roomsByHeader[QFileInfo(header).fileName()].append(&room);
            }
        }
    }

    QList<Arrow> read()
    {
        for (const Room& room : _rooms) {
            const QString folder = _root.filePath(room.folder);
            const QStringList sources = filesBelow(folder, { "*.h", "*.hpp", "*.cpp", "*.c" });
            for (const QString& source : sources) {
                _readIncludes(room, source);
            }
            const QStringList lists = filesBelow(folder, { "CMakeLists.txt", "*.cmake" });
            for (const QString& list : lists) {
                _readLinks(room, list);
            }
        }
        return _arrows;
    }

private:
    void _add(const Room& room, const QString& to, const QString& file, int line)
    {
        if (!to.isEmpty() && to != room.target) {
            _arrows.append({ room.folder, to, QStringLiteral("%1:%2").arg(_root.relativeFilePath(file)).arg(line) });
        }
    }

    void _readIncludes(const Room& room, const QString& source)
    {
        static const QRegularExpression include(QStringLiteral(R"(^\s*#\s*include\s*([<"])([^>"]+)[>"])"));
        const QStringList lines = readText(source).split(QLatin1Char('\n'));
        for (int index = 0; index < lines.size(); ++index) {
            const QRegularExpressionMatch match = include.match(lines.at(index));
            if (match.hasMatch()) {
                _add(room, _ownerOf(room, match.captured(2), match.captured(1) == QLatin1String("<")), source,
                    index + 1);
            }
        }
    }

    QString _ownerOf(const Room& room, const QString& header, bool isAngled) const
    {
        static const QRegularExpression qt(QStringLiteral(R"(^(Qt[A-Z]\w*/.*|Q[A-Z]\w*|qt?[a-z]+\.h)$)"));
        const QList<const Room*> owners = _roomsByHeader.value(QFileInfo(header).fileName());
        if (owners.isEmpty()) {
            return isAngled && qt.match(header).hasMatch() ? QStringLiteral("Qt") : QString();
        }
        for (const Room* owner : owners) {
            if (owner->folder == room.folder) {
                return {};
            }
        }
        return owners.first()->target.isEmpty() ? owners.first()->folder : owners.first()->target;
    }

    void _readLinks(const Room& room, const QString& list)
    {
        static const QRegularExpression links(QStringLiteral(R"(target_link_libraries\s*\(([^)]*)\))"));
        static const QRegularExpression blank(QStringLiteral(R"(\s+)"));
        QString text = readText(list);
        static const QRegularExpression comment(QStringLiteral(R"(#[^\n]*)"));
        text.replace(comment, QString());
        QRegularExpressionMatchIterator matches = links.globalMatch(text);
        while (matches.hasNext()) {
            const QRegularExpressionMatch match = matches.next();
            const int line = static_cast<int>(text.left(match.capturedStart()).count(QLatin1Char('\n'))) + 1;
            const QStringList words = match.captured(1).split(blank, Qt::SkipEmptyParts);
            for (const QString& word : words.mid(1)) {
                if (word.startsWith(QLatin1String("Qt6::"))) {
                    _add(room, QStringLiteral("Qt"), list, line);
                    continue;
                }
                for (const Room& other : _rooms) {
                    if (word == other.target && other.folder != room.folder) {
                        _add(room, word, list, line);
                    }
                }
            }
        }
    }

    QDir _root;
    const QList<Room>& _rooms;
    QHash<QString, QList<const Room*>> _roomsByHeader;
    QList<Arrow> _arrows;
};

} // namespace

QList<Room> readRooms(const QString& architecture)
{
    static const QRegularExpression row(
        QStringLiteral(R"(^\|\s*`([\w/-]+?)/`([^|]*)\|([^|]*)\|([^|]*)\|\s*$)"), QRegularExpression::MultilineOption);
    static const QRegularExpression word(QStringLiteral(R"([\w.]+)"));
    QList<Room> rooms;
    QRegularExpressionMatchIterator rows = row.globalMatch(architecture);
    while (rows.hasNext()) {
        const QRegularExpressionMatch match = rows.next();
        Room room;
        room.folder = match.captured(1);
        const QString mayUse = match.captured(4);
        if (mayUse.trimmed() == QLatin1String("all")) {
            continue; // tests and benchmarks cross rooms: that is what they are for
        }
        QRegularExpressionMatchIterator words = word.globalMatch(mayUse);
        while (words.hasNext()) {
            if (const QString target = targetsByWord.value(words.next().captured()); !target.isEmpty()) {
                room.mayUse.insert(target);
            }
        }
        room.target = targetsByWord.value(room.folder);
        const bool namesQt = mayUse.contains(QLatin1String("Qt")) && !mayUse.contains(QLatin1String("no Qt"));
        room.mayUseQt = namesQt || room.mayUse.contains(QStringLiteral("ZqToolkit"))
            || room.mayUse.contains(QStringLiteral("CorvaneFramework"));
        rooms.append(room);
    }
    return rooms;
}

QList<Arrow> readArrows(const QString& root, const QList<Room>& rooms)
{
    return ArrowReader(root, rooms).read();
}

QList<Arrow> forbidden(const QList<Arrow>& arrows, const QList<Room>& rooms)
{
    QList<Arrow> found;
    for (const Arrow& arrow : arrows) {
        for (const Room& room : rooms) {
            if (room.folder != arrow.from) {
                continue;
            }
            const bool isAllowed = arrow.to == QLatin1String("Qt") ? room.mayUseQt : room.mayUse.contains(arrow.to);
            if (!isAllowed) {
                found.append(arrow);
            }
        }
    }
    return found;
}
