// SPDX-License-Identifier: Apache-2.0
#include "zqobjectrows.h"

#include <algorithm>

void ZqObjectRows::reserve(qsizetype size)
{
    _objects.reserve(size);
    _entries.reserve(size);
}

qsizetype ZqObjectRows::occurrences(const QObject* object) const
{
    const auto entry = _entries.constFind(object);
    return entry == _entries.cend() ? 0 : entry->occurrences;
}

qsizetype ZqObjectRows::firstRow(const QObject* object) const
{
    if (!_entries.contains(object)) {
        return -1;
    }
    if (_slotsAreStale) {
        _renumber();
    }
    return _rowOfSlot(_entries.constFind(object)->slot);
}

QList<qsizetype> ZqObjectRows::rows(const QObject* object) const
{
    const qsizetype wanted = occurrences(object);
    QList<qsizetype> found;
    if (wanted == 0) {
        return found;
    }
    found.append(firstRow(object));
    for (qsizetype row = found.first() + 1; found.size() < wanted; ++row) {
        if (_objects.at(row) == object) {
            found.append(row);
        }
    }
    return found;
}

void ZqObjectRows::insert(qsizetype row, QObject* object)
{
    _objects.insert(row, object);
    _register(object, row, _objects.size() - 1);
}

void ZqObjectRows::append(const QList<QObject*>& objects)
{
    reserve(_objects.size() + objects.size());
    for (QObject* object : objects) {
        insert(_objects.size(), object);
    }
}

QList<QObject*> ZqObjectRows::take(qsizetype row, qsizetype count)
{
    const QList<QObject*> taken = _objects.mid(row, count);
    const qsizetype sizeBefore = _objects.size();
    _objects.remove(row, count);
    if (_objects.isEmpty()) {
        clear();
        return taken;
    }

    const bool isFront = row == 0 && _holeCount == 0;
    const bool isBack = row + count == sizeBefore && _holeCount == 0;
    bool keepsSlots = !_slotsAreStale && (isFront || isBack || count == 1);
    for (QObject* object : taken) {
        const auto entry = _entries.find(object);
        if (--entry->occurrences > 0) {
            // The slot may have been that of the row that went.
            keepsSlots = false;
            continue;
        }
        if (keepsSlots && !isFront && !isBack) {
            _makeHole(entry->slot);
        }
        _entries.erase(entry);
    }

    if (!keepsSlots) {
        _slotsAreStale = true;
    } else if (isFront) {
        _firstSlot += count;
        _slotCount -= count;
    } else if (isBack) {
        _slotCount -= count;
    } else if (_holeCount > std::max<qsizetype>(64, _objects.size())) {
        _slotsAreStale = true;
    }
    return taken;
}

void ZqObjectRows::move(qsizetype row, qsizetype count, qsizetype destination)
{
    const auto begin = _objects.begin();
    if (destination > row) {
        std::rotate(begin + row, begin + row + count, begin + destination);
    } else {
        std::rotate(begin + destination, begin + row, begin + row + count);
    }
    _slotsAreStale = true;
}

void ZqObjectRows::clear()
{
    _objects.clear();
    _entries.clear();
    _holes.clear();
    _slotsAreStale = false;
    _firstSlot = _slotCount = _holeCount = 0;
}

qsizetype ZqObjectRows::_rowOfSlot(qsizetype slot) const
{
    const qsizetype position = slot - _firstSlot;
    if (_holeCount == 0) {
        return position;
    }
    qsizetype holesBefore = 0;
    for (qsizetype node = position; node > 0; node &= node - 1) {
        holesBefore += _holes[static_cast<size_t>(node)];
    }
    return position - holesBefore;
}

void ZqObjectRows::_register(QObject* object, qsizetype row, qsizetype sizeBefore)
{
    Entry& entry = _entries[object];
    ++entry.occurrences;
    if (_slotsAreStale) {
        return;
    }
    if (row == sizeBefore) {
        if (entry.occurrences == 1) {
            _appendSlot(entry);
        } else {
            // The first occurrence keeps the entry's slot; this row needs one all the same.
            Entry unused;
            _appendSlot(unused);
        }
    } else if (row == 0 && _holeCount == 0) {
        entry.slot = --_firstSlot;
        ++_slotCount;
    } else {
        _slotsAreStale = true;
    }
}

void ZqObjectRows::_appendSlot(Entry& entry)
{
    entry.slot = _firstSlot + _slotCount;
    ++_slotCount;
    if (_holeCount > 0) {
        // The new node counts the holes of the slots that it covers, all of which are there already.
        const qsizetype node = _slotCount;
        qsizetype covered = 0;
        const qsizetype before = node & (node - 1);
        for (qsizetype other = node - 1; other > before; other &= other - 1) {
            covered += _holes[static_cast<size_t>(other)];
        }
        _holes.push_back(covered);
    }
}

void ZqObjectRows::_makeHole(qsizetype slot)
{
    if (_holeCount == 0) {
        _holes.assign(static_cast<size_t>(_slotCount) + 1, 0);
    }
    ++_holeCount;
    for (qsizetype node = slot - _firstSlot + 1; node <= _slotCount; node += node & -node) {
        ++_holes[static_cast<size_t>(node)];
    }
}

void ZqObjectRows::_renumber() const
{
    _firstSlot = _holeCount = 0;
    _slotCount = _objects.size();
    _holes.clear();
    // From the last row to the first, so that an object that stands twice is left with its first row.
    for (qsizetype row = _objects.size() - 1; row >= 0; --row) {
        _entries.find(_objects.at(row))->slot = row;
    }
    _slotsAreStale = false;
}
