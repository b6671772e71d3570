// SPDX-License-Identifier: Apache-2.0
#include "transferdesk.h"

#include <QDebug>

namespace recorder {

namespace {

using namespace std::chrono_literals;

/// How long after its last chunk an export or import that was not ended still counts as under way: a host that gives
/// one up does not say so.
constexpr auto IDLE_MOST = 10s;
constexpr qsizetype FAILED_IMPORTS_MOST = 1000;
constexpr qsizetype UUID_CHARACTERS = 36;

} // namespace

TransferDesk::TransferDesk(Dependencies dependencies)
    : _with(std::move(dependencies))
{
    _worker.start();
}

TransferDesk::~TransferDesk()
{
    stop();
}

void TransferDesk::stop()
{
    _worker.stop();
}

// ---- export -----------------------------------------------------------------------------------------------------

void TransferDesk::exportChunk(const Call& call, Done done)
{
    const QString recordUuid = call.text(0);
    std::shared_ptr<Export>& session = _exports[{ call.caller.agentUuid, recordUuid }];
    if (!session) {
        session = std::make_shared<Export>();
        session->recordUuid = recordUuid;
        session->agentUuid = call.caller.agentUuid;
    }
    session->isBusy = true;
    _worker.post([this, call, session, done = std::move(done)]() mutable {
        StoreResult result;
        const bool isFirst = call.boolean(4);
        if (isFirst || !session->reader) {
            session->reader.reset();
            result = _with.store.open(session->recordUuid.toStdString(), session->reader);
        }
        csv::ExportChunk chunk;
        if (result) {
            csv::ExportCursor cursor;
            if (!isFirst) {
                cursor.bucketId = call.integer(1);
                cursor.uuid = call.bytes(2).toStdString();
            }
            result = csv::exportChunk(*session->reader, cursor, chunk);
        }
        // When the answer goes, this thread holds nothing any more: the next call may delete the record.
        _with.postCommand([this, call, session = std::move(session), result, chunk, done] {
            finishExport(call, session, result, chunk);
            done();
        });
    });
}

void TransferDesk::finishExport(
    const Call& call, const std::shared_ptr<Export>& session, const StoreResult& result, const csv::ExportChunk& chunk)
{
    session->isBusy = false;
    session->lastUse = std::chrono::steady_clock::now();
    for (const Damage& damage : chunk.damages) {
        qWarning().noquote() << "The record" << session->recordUuid << "is damaged:" << damage.events
                             << "events are not exported:" << QString::fromStdString(damage.reason);
    }
    if (!result || chunk.next.isEmpty()) {
        _exports.erase({ session->agentUuid, session->recordUuid });
    }
    if (!result) {
        qWarning().noquote() << "Cannot export" << session->recordUuid << ":" << QString::fromStdString(result.message);
        refuseExport(call.caller);
        return;
    }
    _with.answers.receiveExport(call.caller, session->recordUuid, chunk.next.bucketId,
        QByteArray::fromStdString(chunk.next.uuid), QByteArray::fromStdString(chunk.content));
}

void TransferDesk::refuseExport(const Caller& caller)
{
    _with.answers.receiveExport(caller, QString(), 0, QByteArray(""), QByteArray(""));
}

// ---- import -----------------------------------------------------------------------------------------------------

void TransferDesk::import(const Call& call, Done done)
{
    const QString name = call.text(0).trimmed().isEmpty() ? QStringLiteral("imported") : call.text(0);
    auto session = std::make_shared<Import>();
    session->import = std::make_unique<csv::Import>(_with.store, name.toStdString());
    session->recordUuid = QString::fromStdString(session->import->uuid());
    session->agentUuid = call.caller.agentUuid;
    _imports[session->recordUuid] = session;
    qInfo().noquote() << "Importing" << name << "as" << session->recordUuid;
    feed(call, session, 3, std::move(done));
}

void TransferDesk::append(const Call& call, Done done)
{
    const QString recordUuid = call.text(0);
    if (_failedImports.contains({ call.caller.agentUuid, recordUuid })) {
        _with.answers.recordUuid(call.caller, recordUuid);
        done();
        return;
    }
    std::shared_ptr<Import>& session = _imports[recordUuid];
    if (!session) {
        session = std::make_shared<Import>();
        session->recordUuid = recordUuid;
    } else if (session->isBusy) {
        qWarning().noquote() << "Two hosts append to record" << recordUuid << "at once";
    }
    session->agentUuid = call.caller.agentUuid;
    feed(call, session, 1, std::move(done));
}

void TransferDesk::feed(const Call& call, std::shared_ptr<Import> session, size_t chunkArgument, Done done)
{
    session->isBusy = true;
    _worker.post([this, call, session = std::move(session), chunkArgument, done = std::move(done)]() mutable {
        StoreResult result;
        if (!session->import) {
            session->import = csv::Import::resume(_with.store, session->recordUuid.toStdString(), result);
        }
        if (session->import) {
            const QByteArray& chunk = call.bytes(chunkArgument);
            result = session->import->feed({ chunk.constData(), static_cast<size_t>(chunk.size()) });
        }
        _with.postCommand([this, call, session = std::move(session), result, done] {
            finishImport(call, session, result);
            done();
        });
    });
}

void TransferDesk::finishImport(const Call& call, const std::shared_ptr<Import>& session, const StoreResult& result)
{
    session->isBusy = false;
    session->lastUse = std::chrono::steady_clock::now();
    if (result) {
        _with.answers.recordUuid(call.caller, session->recordUuid);
        return;
    }
    qWarning().noquote() << "Import of" << session->recordUuid << "failed:" << QString::fromStdString(result.message);
    _imports.erase(session->recordUuid);
    giveUpImport(call.caller, session->recordUuid);
    refuseImport(call.caller, session->recordUuid);
}

void TransferDesk::giveUpImport(const Caller& caller, const QString& recordUuid)
{
    // Hosts may make up what they like, and as long as they like.
    if (recordUuid.size() != UUID_CHARACTERS) {
        return;
    }
    if (_failedImports.size() >= FAILED_IMPORTS_MOST) {
        _failedImports.clear();
    }
    _failedImports.insert({ caller.agentUuid, recordUuid });
}

void TransferDesk::refuseImport(const Caller& caller, const QString& recordUuid)
{
    // The first tells the host that something went wrong, the second lets its import go on to its end.
    _with.answers.recordUuid(caller, QString());
    if (!recordUuid.isEmpty()) {
        _with.answers.recordUuid(caller, recordUuid);
    }
}

// ---- sessions ---------------------------------------------------------------------------------------------------

bool TransferDesk::isInUse(const Session& session) const
{
    return session.isBusy
        || (std::chrono::steady_clock::now() - session.lastUse < IDLE_MOST
            && _with.directory.isPresent(session.agentUuid.toStdString()));
}

bool TransferDesk::isUsedByOthers(const QString& recordUuid, const QByteArray& agentUuid) const
{
    for (const auto& [key, session] : _exports) {
        if (session->recordUuid == recordUuid && session->agentUuid != agentUuid && isInUse(*session)) {
            return true;
        }
    }
    const auto import = _imports.find(recordUuid);
    return import != _imports.end() && import->second->agentUuid != agentUuid && isInUse(*import->second);
}

void TransferDesk::release(const QString& recordUuid)
{
    std::erase_if(_exports, [&](const auto& entry) { return entry.second->recordUuid == recordUuid; });
    _imports.erase(recordUuid);
}

void TransferDesk::tick()
{
    std::erase_if(_exports, [this](const auto& entry) { return !isInUse(*entry.second); });
    std::erase_if(_imports, [this](const auto& entry) { return !isInUse(*entry.second); });
}

} // namespace recorder
