// SPDX-License-Identifier: Apache-2.0
#include "zqobjectrows.h"

#include <algorithm>
#include <utility>

ZqObjectRows::ZqObjectRows() = default;

ZqObjectRows::~ZqObjectRows() = default;

void ZqObjectRows::reserve(qsizetype size)
{
    _entries.reserve(size);
    _objectsById.reserve(static_cast<size_t>(size));
}

QList<QObject*> ZqObjectRows::objects(qsizetype row, qsizetype count) const
{
    QList<QObject*> found;
    found.reserve(count);
    for (const int id : _ids.ids(row, count)) {
        found.append(_objectsById[static_cast<size_t>(id)]);
    }
    return found;
}

qsizetype ZqObjectRows::occurrences(const QObject* object) const
{
    const auto entry = _entries.constFind(object);
    return entry == _entries.cend() ? 0 : entry->occurrences;
}

qsizetype ZqObjectRows::firstRow(const QObject* object) const
{
    const auto entry = _entries.constFind(object);
    if (entry == _entries.cend()) {
        return -1;
    }
    return entry->occurrences == 1 ? _ids.rowOf(entry->id) : rows(object).first();
}

QList<qsizetype> ZqObjectRows::rows(const QObject* object) const
{
    const qsizetype wanted = occurrences(object);
    QList<qsizetype> found;
    if (wanted == 1) {
        found.append(firstRow(object));
    } else if (wanted > 1) {
        const QList<QObject*> all = objects();
        for (qsizetype row = 0; row < all.size(); ++row) {
            if (all.at(row) == object) {
                found.append(row);
            }
        }
    }
    return found;
}

void ZqObjectRows::insert(qsizetype row, QObject* object)
{
    ++_edits;
    _ids.insert(row, _newId(object));
}

void ZqObjectRows::append(const QList<QObject*>& objects)
{
    ++_edits;
    _entries.reserve(size() + objects.size());
    QList<int> ids;
    ids.reserve(objects.size());
    for (QObject* object : objects) {
        ids.append(_newId(object));
    }
    _ids.insert(size(), ids);
}

QList<QObject*> ZqObjectRows::take(qsizetype row, qsizetype count)
{
    const QList<QObject*> taken = objects(row, count);
    if (count == size()) {
        clear();
        return taken;
    }
    ++_edits;
    const QList<int> ids = _ids.ids(row, count);
    _ids.remove(row, count);
    for (const int id : ids) {
        _forget(id);
    }
    return taken;
}

void ZqObjectRows::move(qsizetype row, qsizetype count, qsizetype destination)
{
    ++_edits;
    const QList<int> ids = _ids.ids(row, count);
    _ids.remove(row, count);
    _ids.insert(destination > row ? destination - count : destination, ids);
}

void ZqObjectRows::clear()
{
    ++_edits;
    _ids.clear();
    _objectsById.clear();
    _freeIds.clear();
    _entries.clear();
}

int ZqObjectRows::_newId(QObject* object)
{
    int id = static_cast<int>(_objectsById.size());
    if (_freeIds.empty()) {
        _objectsById.push_back(object);
    } else {
        id = _freeIds.back();
        _freeIds.pop_back();
        _objectsById[static_cast<size_t>(id)] = object;
    }
    Entry& entry = _entries[object];
    entry.id = id;
    ++entry.occurrences;
    return id;
}

/// Takes note that the row of an id is gone.
void ZqObjectRows::_forget(int id)
{
    QObject*& object = _objectsById[static_cast<size_t>(id)];
    const auto entry = _entries.find(std::exchange(object, nullptr));
    _freeIds.push_back(id);
    if (--entry->occurrences == 0) {
        _entries.erase(entry);
    } else if (entry->occurrences == 1) {
        // The row that is left may be another than the entry tells of.
        const auto other = std::find(_objectsById.cbegin(), _objectsById.cend(), entry.key());
        entry->id = static_cast<int>(other - _objectsById.cbegin());
    }
}
