// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../recording/eventqueue.h"
#include "../store/store.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace recorder {

/// The names of a record's outputs by number, so that an event on its way carries one number. Thread-safe; only grows.
class OutputNames
{
public:
    struct Name
    {
        std::string agent;
        std::string output;
    };

    uint32_t number(std::string_view agent, std::string_view output);
    /// The reference holds as long as the table.
    const Name& name(uint32_t number) const;

private:
    mutable std::mutex _mutex;
    std::deque<Name> _names;
    std::map<std::pair<std::string, std::string>, uint32_t> _numbers;
    uint32_t _last = 0; // most events come in runs of one output
};

/// Reads a record on a thread of its own, a bounded way ahead of who publishes it, so that a slow disk does not show in
/// the times of a replay.
class ReadAhead
{
public:
    enum class Status
    {
        Ready, ///< a batch was handed out
        Pending, ///< nothing yet; onReady will be called
        End, ///< every event was handed out
        Failed ///< the store failed; retry() goes on at the same place
    };

    /// How far it reads ahead: so many batches, each closed by its size or its count.
    static constexpr size_t MOST_ITEMS = 8;
    static constexpr size_t MOST_ITEM_BYTES = 256 * 1024;
    static constexpr size_t MOST_ITEM_EVENTS = 4096;

    /// onReady is called on the reading thread when take() has something to say after Pending.
    ReadAhead(std::unique_ptr<RecordReader> reader, std::shared_ptr<OutputNames> names, std::function<void()> onReady);
    ~ReadAhead();
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    /// Forgets what was read and reads [startUs, endUs], both included, after the state just before startUs.
    void seek(int64_t startUs, int64_t endUs);
    /// The state at the start of what was sought: the first answer after a seek, once. Entries have the time startUs.
    Status takeState(EventBatch& batch);
    /// The next events. After the state was taken.
    Status take(EventBatch& batch);
    void retry();
    /// Why the store failed.
    std::string failure() const;

private:
    struct Item
    {
        EventBatch events;
        bool isState = false;
    };

    void run();
    bool readState(Item& item);
    bool readEvents(Item& item, bool& isEnd);
    void reportDamages(const std::vector<Damage>& damages);
    Status takeItem(EventBatch& batch, bool wantsState);

    const std::unique_ptr<RecordReader> _reader; // reading thread
    std::unique_ptr<EventCursor> _cursor; // reading thread; before its reader ends
    const std::shared_ptr<OutputNames> _names;
    const std::function<void()> _onReady;
    int64_t _readStartUs = 0; // reading thread
    int64_t _readEndUs = 0; // reading thread
    bool _isStateRead = false; // reading thread

    mutable std::mutex _mutex; // this group
    std::condition_variable _changed;
    std::deque<Item> _items;
    uint64_t _generation = 0; // grows with each seek
    int64_t _startUs = 0;
    int64_t _endUs = 0;
    bool _isEnd = false;
    bool _hasFailed = false;
    std::string _failure;
    bool _isAsked = false; // take() said Pending
    bool _mustEnd = false;

    std::thread _thread;
};

} // namespace recorder
