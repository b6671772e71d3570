// SPDX-License-Identifier: Apache-2.0
#include "readahead.h"

#include <QDebug>

namespace recorder {

uint32_t OutputNames::number(std::string_view agent, std::string_view output)
{
    const std::lock_guard lock(_mutex);
    if (_last < _names.size() && _names[_last].agent == agent && _names[_last].output == output) {
        return _last;
    }
    const auto [entry, isNew]
        = _numbers.try_emplace({ std::string(agent), std::string(output) }, static_cast<uint32_t>(_names.size()));
    if (isNew) {
        _names.push_back({ std::string(agent), std::string(output) });
    }
    _last = entry->second;
    return entry->second;
}

const OutputNames::Name& OutputNames::name(uint32_t number) const
{
    const std::lock_guard lock(_mutex);
    return _names.at(number);
}

ReadAhead::ReadAhead(
    std::unique_ptr<RecordReader> reader, std::shared_ptr<OutputNames> names, std::function<void()> onReady)
    : _reader(std::move(reader))
    , _names(std::move(names))
    , _onReady(std::move(onReady))
{
    _thread = std::thread([this] { run(); });
}

ReadAhead::~ReadAhead()
{
    {
        const std::lock_guard lock(_mutex);
        _mustEnd = true;
    }
    _changed.notify_one();
    _thread.join();
}

void ReadAhead::seek(int64_t startUs, int64_t endUs)
{
    {
        const std::lock_guard lock(_mutex);
        ++_generation;
        _startUs = startUs;
        _endUs = endUs;
        _items.clear();
        _isEnd = false;
        _hasFailed = false;
    }
    _changed.notify_one();
}

void ReadAhead::retry()
{
    {
        const std::lock_guard lock(_mutex);
        _hasFailed = false;
    }
    _changed.notify_one();
}

std::string ReadAhead::failure() const
{
    const std::lock_guard lock(_mutex);
    return _failure;
}

ReadAhead::Status ReadAhead::takeState(EventBatch& batch)
{
    return takeItem(batch, true);
}

ReadAhead::Status ReadAhead::take(EventBatch& batch)
{
    return takeItem(batch, false);
}

ReadAhead::Status ReadAhead::takeItem(EventBatch& batch, bool wantsState)
{
    {
        const std::lock_guard lock(_mutex);
        if (_items.empty() || _items.front().isState != wantsState) {
            if (_items.empty() && _hasFailed) {
                return Status::Failed;
            }
            if (_items.empty() && _isEnd) {
                return Status::End;
            }
            _isAsked = true;
            return Status::Pending;
        }
        batch = std::move(_items.front().events);
        _items.pop_front();
    }
    _changed.notify_one();
    return Status::Ready;
}

void ReadAhead::run()
{
    std::unique_lock lock(_mutex);
    uint64_t readGeneration = 0;
    for (;;) {
        _changed.wait(lock, [&] {
            return _mustEnd
                || (_generation > 0
                    && (_generation != readGeneration || (!_isEnd && !_hasFailed && _items.size() < MOST_ITEMS)));
        });
        if (_mustEnd) {
            return;
        }
        if (_generation != readGeneration) {
            readGeneration = _generation;
            _readStartUs = _startUs;
            _readEndUs = _endUs;
            _isStateRead = false;
            _cursor.reset();
        }
        lock.unlock();
        Item item;
        bool isEnd = false;
        const bool isRead = _isStateRead ? readEvents(item, isEnd) : readState(item);
        lock.lock();
        if (_generation != readGeneration) {
            continue; // what was read is of a place that nobody wants any more
        }
        if (isRead && (item.isState || !item.events.isEmpty())) {
            _items.push_back(std::move(item));
        }
        _isEnd = isEnd;
        _hasFailed = !isRead;
        if (_isAsked) {
            _isAsked = false;
            lock.unlock();
            _onReady();
            lock.lock();
        }
    }
}

bool ReadAhead::readState(Item& item)
{
    std::vector<OutputValue> state;
    const StoreResult result = _reader->stateBefore(_readStartUs, state);
    reportDamages(_reader->takeDamages());
    if (!result) {
        const std::lock_guard lock(_mutex);
        _failure = result.message;
        return false;
    }
    item.isState = true;
    for (const OutputValue& value : state) {
        item.events.add(_readStartUs, _names->number(value.agent, value.output), true, value.value.view());
    }
    _isStateRead = true;
    return true;
}

bool ReadAhead::readEvents(Item& item, bool& isEnd)
{
    StoreResult result;
    if (!_cursor) {
        _cursor = _reader->events(_readStartUs, _readEndUs, result);
    }
    bool isRead = _cursor != nullptr;
    while (isRead && !isEnd && item.events.bytes() < MOST_ITEM_BYTES && item.events.entries.size() < MOST_ITEM_EVENTS) {
        EventView event;
        switch (_cursor->next(event)) {
        case EventCursor::Step::Event:
            item.events.add(event.timeUs, _names->number(event.agent, event.output), false, event.value);
            break;
        case EventCursor::Step::End:
            isEnd = true;
            break;
        case EventCursor::Step::Failed:
            result = _cursor->result();
            // What came before the failure is handed out first; the failure comes again with the next reading.
            isRead = !item.events.isEmpty();
            if (isRead) {
                return true;
            }
            break;
        }
    }
    if (_cursor) {
        reportDamages(_cursor->takeDamages());
    }
    if (!isRead) {
        const std::lock_guard lock(_mutex);
        _failure = result.message;
    }
    return isRead;
}

void ReadAhead::reportDamages(const std::vector<Damage>& damages)
{
    for (const Damage& damage : damages) {
        qWarning().noquote() << "The record is damaged between" << static_cast<double>(damage.firstUs) / 1e6 << "s and"
                             << static_cast<double>(damage.lastUs) / 1e6 << "s:" << damage.events
                             << "events are not replayed:" << QString::fromStdString(damage.reason);
    }
}

} // namespace recorder
