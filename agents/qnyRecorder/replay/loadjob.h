// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../services/call.h"
#include "../store/store.h"

#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

namespace recorder {

/// Opens a record or a record file on a thread of its own, because a long file takes its time.
class LoadJob
{
public:
    struct Request
    {
        Caller caller;
        QString id; ///< record uuid, or path exactly as received
        bool isFile = false;
        double startSeconds = 0.0; ///< of a record alone; a file is loaded as a whole
        double durationSeconds = 0.0;
    };
    /// Called on the job's thread, also after it was given up.
    using Done = std::function<void(std::unique_ptr<RecordReader> reader, const StoreResult& result)>;

    LoadJob(Request request, Store& store, Done done);
    /// Gives up and waits for the thread.
    ~LoadJob();
    LoadJob(const LoadJob&) = delete;
    LoadJob& operator=(const LoadJob&) = delete;

    const Request& request() const { return _request; }
    int percent() const { return _percent; }

private:
    void run(Store& store, const Done& done);

    const Request _request;
    std::atomic<int> _percent { 0 };
    std::atomic<bool> _isGivenUp { false };
    std::thread _thread;
};

} // namespace recorder
