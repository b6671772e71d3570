// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../csv/exchange.h"
#include "../network/agentdirectory.h"
#include "answers.h"
#include "taskthread.h"

#include <QSet>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace recorder {

/// Exports and imports of records, chunk by chunk. The chunks are worked on by a thread of this desk's own, one after
/// another, whoever asked; the commands come, and the answers leave, on the command thread.
class TransferDesk
{
public:
    struct Dependencies
    {
        AgentDirectory& directory;
        Answers& answers;
        Store& store;
        std::function<void(std::function<void()>)> postCommand; ///< runs a task on the command thread
    };
    /// Called on the command thread when the call was answered.
    using Done = std::function<void()>;

    explicit TransferDesk(Dependencies dependencies);
    ~TransferDesk();

    /// Calls of one host come one after another: the next after `done`.
    void exportChunk(const Call& call, Done done);
    void import(const Call& call, Done done);
    void append(const Call& call, Done done);
    /// Answers of calls that cannot be read, or are nobody's to make.
    void refuseExport(const Caller& caller);
    void refuseImport(const Caller& caller, const QString& recordUuid);
    /// What this host still appends to the record is acknowledged and dropped: one of its chunks is missing.
    void giveUpImport(const Caller& caller, const QString& recordUuid);

    /// Whether a host other than this one exports or imports the record.
    bool isUsedByOthers(const QString& recordUuid, const QByteArray& agentUuid) const;
    /// Lets go of the record, which nobody else uses: it is about to be deleted.
    void release(const QString& recordUuid);
    /// To be called now and then: forgets what nobody went on with.
    void tick();
    /// Waits for the chunk in work. No calls afterwards.
    void stop();

private:
    struct Session
    {
        QString recordUuid;
        QByteArray agentUuid; // of the host
        bool isBusy = false;
        std::chrono::steady_clock::time_point lastUse;
    };
    struct Export : Session
    {
        std::unique_ptr<RecordReader> reader; // keeps the record from being deleted
    };
    struct Import : Session
    {
        std::unique_ptr<csv::Import> import;
    };

    bool isInUse(const Session& session) const;
    void finishExport(const Call& call, const std::shared_ptr<Export>& session, const StoreResult& result,
        const csv::ExportChunk& chunk);
    void feed(const Call& call, std::shared_ptr<Import> session, size_t chunkArgument, Done done);
    void finishImport(const Call& call, const std::shared_ptr<Import>& session, const StoreResult& result);

    Dependencies _with;
    std::map<std::pair<QByteArray, QString>, std::shared_ptr<Export>> _exports; // by host and record
    std::map<QString, std::shared_ptr<Import>> _imports; // by record
    QSet<std::pair<QByteArray, QString>> _failedImports; // by host and record
    TaskThread _worker;
};

} // namespace recorder
