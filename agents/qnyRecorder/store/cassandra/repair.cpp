// SPDX-License-Identifier: Apache-2.0
#include "recordchunks.h"
#include "sink.h"
#include "statements.h"
#include "upkeep.h"

#include <algorithm>
#include <chrono>
#include <compare>
#include <thread>

namespace recorder::cassandra {

namespace {

constexpr auto mostWaiting = std::chrono::seconds(3); // for another recorder that closes a record
constexpr auto waitingStep = std::chrono::milliseconds(20);

// A record that somebody looks after.
struct Work
{
    std::string record;
    std::string owner;

    auto operator<=>(const Work& other) const = default;
};

StoreResult listWork(Connection& connection, std::vector<Work>& list)
{
    return connection.forEach(cql::listWork, {}, [&](const Answer& answer, std::size_t row) {
        list.push_back({ answer.text(row, 0), answer.text(row, 1) });
        return true;
    });
}

// The records that somebody owns. Each has its row of work, but for those whose making reached the table late: a server
// that stood still does what it was asked after the owner was found dead and its work done.
StoreResult listOwned(Connection& connection, std::vector<Work>& list)
{
    return connection.forEach(cql::listRecords, {}, [&](const Answer& answer, std::size_t row) {
        if (!answer.isNull(row, 6)) {
            list.push_back({ answer.text(row, 0), answer.text(row, 6) });
        }
        return true;
    });
}

// Until nobody closes it any more.
StoreResult await(Context& context, const std::string& uuid)
{
    const auto deadline = std::chrono::steady_clock::now() + mostWaiting;
    for (;;) {
        StoredRecord record;
        if (StoreResult result = readRecord(context.connection, uuid, Certainty::AsStored, record); !result) {
            return result;
        }
        if (!record.isThere || !record.isBeingRepaired() || std::chrono::steady_clock::now() > deadline) {
            return StoreResult::done();
        }
        std::this_thread::sleep_for(waitingStep);
    }
}

// What an owner that has died had to look after.
StoreResult takeOver(const std::shared_ptr<Context>& context, const Work& work, const Owners& owners)
{
    Connection& connection = context->connection;
    StoredRecord record;
    if (StoreResult result = readRecord(connection, work.record, Certainty::Settled, record); !result) {
        return result;
    }
    if (record.isDeleted) {
        return StoreResult::done(); // the purge's business
    }
    const bool isAbandoned
        = record.isThere && record.isOwned && record.owner != context->token && !owners.isAlive(record.owner);
    if (isAbandoned) {
        if (StoreResult result = connection.write(cql::putWork, { work.record, context->token }); !result) {
            return result;
        }
        // Who wrote it last stays as it is: that tells others that this is a repair.
        bool applied = false;
        if (StoreResult result = connection.executeIf(cql::takeRecord,
                { context->token, Argument::unset(), work.record, record.owner, record.stateNumber() }, applied);
            !result) {
            return result;
        }
        if (StoreResult result = closeFromStored(context, work.record);
            !result && result.error != StoreError::NotFound) {
            return result;
        }
    }
    return connection.write(cql::removeWork, { work.record, work.owner });
}

StoreResult purge(Context& context, const Work& work)
{
    bool isRead = true;
    if (StoreResult result = Hold::isRead(context, work.record, isRead); !result || isRead) {
        return result;
    }
    // A purge that was cut short finds the buckets again, for they go last.
    std::vector<RowToWrite> rows;
    StoreResult result = context.connection.forEach(
        cql::bucketsFrom, { work.record, 0 }, [&](const Answer& answer, std::size_t row) {
            for (const Cql* statement : { &cql::purgeChunks, &cql::purgeInfos, &cql::purgeStates }) {
                rows.emplace_back(*statement, std::initializer_list<Argument> { work.record, answer.integer(row, 0) });
            }
            return true;
        });
    if (!result) {
        return result;
    }
    for (const Cql* statement :
        { &cql::purgeDefinitions, &cql::purgeInitials, &cql::purgeCounts, &cql::purgeFacts, &cql::purgeHolds }) {
        rows.emplace_back(*statement, std::initializer_list<Argument> { work.record });
    }
    result = context.connection.write(rows);
    if (result) {
        result = context.connection.write(cql::purgeBuckets, { work.record });
    }
    bool applied = false;
    if (result) {
        result = context.connection.executeIf(cql::purgeRecord, { work.record }, applied);
    }
    return result ? context.connection.write(cql::removeWork, { work.record, work.owner }) : result;
}

} // namespace

StoreResult closeFromStored(const std::shared_ptr<Context>& context, const std::string& uuid)
{
    Connection& connection = context->connection;
    StoredRecord record;
    if (StoreResult result = readRecord(connection, uuid, Certainty::Settled, record); !result) {
        return result;
    }
    if (!record.isThere || !record.isOwned || record.owner != context->token) {
        return noSuchRecord(uuid);
    }
    Batch last;
    last.extent = record.extent;
    last.recordState = RecordState::Whole;
    last.last = true;
    last.listChanged = true;
    const bool isOpen = record.state == RecordState::Recording;
    if (isOpen) {
        if (StoreResult result = readRest(connection, record); !result) {
            return result;
        }
        Tally tally;
        int damaged = 0;
        if (StoreResult result = RecordChunks(context, uuid).restoreTally(record, tally, damaged); !result) {
            return result;
        }
        remarkRepair(tally, record, damaged);
        last.completeness = tally.completeness().toJson();
        last.completenessThrough = record.extent.nextSequence;
        last.extent.durationUs = std::max(record.extent.durationUs, record.extent.highUs);
    }
    StoreResult result = Sink(context, uuid).write(last);
    if (result && isOpen) {
        context->say(repairMessage(record));
    }
    return result;
}

StoreResult repairAbandoned(const std::shared_ptr<Context>& context, Others others)
{
    std::vector<Work> list;
    StoreResult listed = listWork(context->connection, list);
    if (listed && others == Others::AreAwaited) {
        listed = listOwned(context->connection, list);
    }
    if (!listed || list.empty()) {
        return listed;
    }
    std::sort(list.begin(), list.end());
    list.erase(std::unique(list.begin(), list.end()), list.end());
    Owners owners;
    if (StoreResult result = owners.read(context->connection); !result) {
        return result;
    }
    for (const Work& work : list) {
        if (work.owner == context->token) {
            continue;
        }
        StoreResult result = StoreResult::done();
        if (!owners.isAlive(work.owner)) {
            result = takeOver(context, work, owners);
        }
        if (result && others == Others::AreAwaited) {
            result = await(*context, work.record);
        }
        if (!result) {
            return result;
        }
    }
    return StoreResult::done();
}

StoreResult purgeDeleted(Context& context)
{
    std::vector<Work> list;
    if (StoreResult result = listWork(context.connection, list); !result || list.empty()) {
        return result;
    }
    Owners owners;
    if (StoreResult result = owners.read(context.connection); !result) {
        return result;
    }
    for (const Work& work : list) {
        StoredRecord record;
        if (StoreResult result = readRecord(context.connection, work.record, Certainty::AsStored, record); !result) {
            return result;
        }
        const bool isOurs = work.owner == context.token || !owners.isAlive(work.owner);
        if (record.isDeleted && isOurs) {
            if (StoreResult result = purge(context, work); !result) {
                return result;
            }
        }
    }
    return StoreResult::done();
}

} // namespace recorder::cassandra
