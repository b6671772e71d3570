// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "store/chunkdatabase.h"
#include "store/embedded/context.h"

#include <QString>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <random>

namespace recorder::testing {

// What a database on other machines may do to whoever writes into it.
enum class Fault
{
    None,
    Slow, // takes its time
    Fails, // is not there
    Hangs, // says nothing, until it fails after a while with the outcome unknown
    AppliesAndFails, // does it, and says that it does not know
    Refuses, // lets nobody in
    Random // any of these but the last, now and then
};

// Shared by the database and whoever makes its faults.
class FaultSwitch
{
public:
    void set(Fault fault);
    // One after another, from now on: "none:300,fails:1000,slow:5000" with milliseconds; the last one stays.
    void follow(const QString& plan);
    void seedRandom(std::uint64_t seed) { m_random.seed(seed); }
    void setHang(std::chrono::milliseconds most) { m_hang = most; }
    // Does `work`, or whatever the present fault makes of it.
    StoreResult meet(const std::function<StoreResult()>& work);
    int writes() const { return m_writes; }

private:
    Fault present();
    StoreResult hang();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    Fault m_fault = Fault::None;
    std::vector<std::pair<std::chrono::steady_clock::time_point, Fault>> m_plan; // until when
    std::chrono::milliseconds m_hang { 2'000 };
    std::mt19937_64 m_random { 1 };
    std::atomic<int> m_writes { 0 };
};

// The embedded store's file, used as if it were a database on another machine. It survives its client, as such one
// does.
class FaultyDatabase : public ChunkDatabase
{
public:
    FaultyDatabase(const std::filesystem::path& directory, std::shared_ptr<FaultSwitch> faults,
        Store::MessageHandler onMessage = nullptr);
    ~FaultyDatabase() override;

    std::string describe() const override { return "test database " + m_context->file.string(); }
    StoreResult connect() override;
    std::string ownerToken() const override { return m_context->token; }
    StoreResult records(std::string_view namePart, std::vector<RecordSummary>& list) override;
    StoreResult listRevision(std::uint64_t& revision) override;
    StoreResult open(const std::string& uuid, std::unique_ptr<RecordReader>& reader) override;
    StoreResult rename(const std::string& uuid, const std::string& name) override;
    StoreResult remove(const std::string& uuid) override;
    StoreResult create(const RecordFacts& facts) override;
    StoreResult adopt(const std::string& uuid, WriterStart& start) override;
    StoreResult reclaim(const std::string& uuid, const std::string& formerOwner) override;
    std::unique_ptr<ChunkSink> sink(const std::string& uuid) override;
    StoreResult repair(const std::string& uuid) override;

    // As another recorder does that takes this one for dead.
    StoreResult closeByAnother(const std::string& uuid);

private:
    friend class FaultySink;
    struct Row
    {
        std::int64_t id = 0;
        std::string owner;
    };
    StoreResult ensureOpen();
    StoreResult find(const std::string& uuid, Row& row);
    StoreResult announce(const std::string& token, std::int64_t expiresUs);
    StoreResult own(std::int64_t id, const std::string& token);
    StoreResult createNow(const RecordFacts& facts);
    StoreResult adoptNow(const std::string& uuid, WriterStart& start);
    StoreResult reclaimNow(const std::string& uuid, const std::string& formerOwner);
    StoreResult writeNow(const std::string& uuid, const Batch& batch);

    const std::shared_ptr<FaultSwitch> m_faults;
    const std::shared_ptr<EmbeddedContext> m_context;
    std::recursive_mutex m_mutex; // what follows
    Database m_database;
    std::unique_ptr<Store> m_store; // for everything but writing
};

} // namespace recorder::testing
