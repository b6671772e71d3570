// SPDX-License-Identifier: Apache-2.0
#include "eventqueue.h"

#include <algorithm>

namespace recorder {

void EventBatch::add(int64_t timeUs, uint32_t output, bool isInitial, const ValueView& value)
{
    Entry entry {};
    entry.timeUs = timeUs;
    entry.output = output;
    entry.type = value.type;
    entry.isInitial = isInitial;
    switch (value.type) {
    case ValueType::Impulse:
        break;
    case ValueType::Bool:
        entry.boolean = value.boolean;
        break;
    case ValueType::Integer:
        entry.integer = value.integer;
        break;
    case ValueType::Double:
        entry.real = value.real;
        break;
    case ValueType::String:
    case ValueType::Data:
        entry.offset = _bytes.size();
        entry.size = static_cast<uint32_t>(value.bytes.size());
        _bytes.append(value.bytes);
        break;
    }
    entries.push_back(entry);
}

ValueView EventBatch::value(const Entry& entry) const
{
    switch (entry.type) {
    case ValueType::Impulse:
        break;
    case ValueType::Bool:
        return ValueView::fromBool(entry.boolean);
    case ValueType::Integer:
        return ValueView::fromInteger(entry.integer);
    case ValueType::Double:
        return ValueView::fromDouble(entry.real);
    case ValueType::String:
        return ValueView::fromString(std::string_view(_bytes).substr(entry.offset, entry.size));
    case ValueType::Data:
        return ValueView::fromData(std::string_view(_bytes).substr(entry.offset, entry.size));
    }
    return ValueView::impulse();
}

void EventBatch::clear()
{
    entries.clear();
    definitions.clear();
    networkLosses.clear();
    _bytes.clear();
}

bool EventQueue::add(int64_t timeUs, uint32_t output, bool isInitial, const ValueView& value)
{
    bool isWorthTaking = false;
    {
        const std::lock_guard lock(_mutex);
        const size_t before = _waiting.bytes();
        if (before + sizeof(EventBatch::Entry) + value.bytes.size() > _mostBytes) {
            return false;
        }
        _waiting.add(timeUs, output, isInitial, value);
        // Told once for each batch: a wake-up for each event would cost more than the event.
        isWorthTaking = before < WORTH_TAKING_BYTES && _waiting.bytes() >= WORTH_TAKING_BYTES;
    }
    if (isWorthTaking) {
        _worthTaking.notify_one();
    }
    return true;
}

void EventQueue::addDefinition(const std::string& agent, const std::string& json)
{
    const std::lock_guard lock(_mutex);
    std::vector<EventBatch::Definition>& waiting = _waiting.definitions;
    const auto before = std::find_if(
        waiting.begin(), waiting.end(), [&](const EventBatch::Definition& one) { return one.agent == agent; });
    if (before != waiting.end()) {
        before->json = json;
    } else {
        waiting.push_back({ agent, json });
    }
}

void EventQueue::addNetworkLoss(uint32_t output, uint64_t events)
{
    const std::lock_guard lock(_mutex);
    _waiting.networkLosses[output] += events;
}

void EventQueue::take(EventBatch& batch, std::chrono::milliseconds patience)
{
    std::unique_lock lock(_mutex);
    _worthTaking.wait_for(lock, patience, [this] { return _isWoken || _waiting.bytes() >= WORTH_TAKING_BYTES; });
    _isWoken = false;
    std::swap(batch, _waiting);
}

void EventQueue::wake()
{
    {
        const std::lock_guard lock(_mutex);
        _isWoken = true;
    }
    _worthTaking.notify_one();
}

} // namespace recorder
