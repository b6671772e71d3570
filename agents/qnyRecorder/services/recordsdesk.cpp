// SPDX-License-Identifier: Apache-2.0
#include "recordsdesk.h"

#include <QDebug>

#include <algorithm>

namespace recorder {

namespace {

constexpr std::chrono::milliseconds LOOK_INTERVAL { 200 };
/// Who asks under ever new tokens pushes out the oldest.
constexpr size_t MOST_HOSTS = 256;

} // namespace

RecordsDesk::RecordsDesk(Dependencies dependencies)
    : _with(std::move(dependencies))
{
    if (!_with.store.listRevision(_sentRevision)) {
        _sentRevision = 0; // the list is sent once more than needed
    }
}

QByteArray RecordsDesk::listJson(const QByteArray& namePart)
{
    std::vector<RecordSummary> list;
    const StoreResult result = _with.store.records(namePart.toStdString(), list);
    if (!result) {
        qCritical().noquote() << "The records cannot be listed:" << QString::fromStdString(result.message);
    }
    return QByteArray::fromStdString(recordsToJson(list));
}

void RecordsDesk::answerRecords(const Caller& caller, const QByteArray& namePart)
{
    _with.answers.records(caller, listJson(namePart));
}

void RecordsDesk::rename(const Call& call)
{
    if (call.text(1).trimmed().isEmpty()) {
        qWarning().noquote() << "A record's name cannot be empty:" << call.text(0) << "keeps its name";
        return;
    }
    const StoreResult result = _with.store.rename(call.bytes(0).toStdString(), call.bytes(1).toStdString());
    if (!result) {
        qWarning().noquote() << "Cannot rename" << call.text(0) << ":" << QString::fromStdString(result.message);
    }
}

void RecordsDesk::remove(const QString& recordUuid)
{
    const StoreResult result = _with.store.remove(recordUuid.toStdString());
    if (!result) {
        qWarning().noquote() << "Cannot delete" << recordUuid << ":" << QString::fromStdString(result.message);
    }
}

void RecordsDesk::onContextAnswered(const Caller& caller)
{
    if (_with.hasDatabase) {
        return;
    }
    const Caller host = caller.underPlainToken();
    if (std::find(_hosts.begin(), _hosts.end(), host) == _hosts.end()) {
        if (_hosts.size() >= MOST_HOSTS) {
            _hosts.erase(_hosts.begin());
        }
        _hosts.push_back(host);
    }
    answerRecords(host, {});
}

void RecordsDesk::tick()
{
    const auto now = std::chrono::steady_clock::now();
    if (_with.hasDatabase || now < _nextLook) {
        return;
    }
    _nextLook = now + LOOK_INTERVAL;
    std::erase_if(
        _hosts, [this](const Caller& host) { return !_with.directory.isPresent(host.agentUuid.toStdString()); });
    uint64_t revision = 0;
    if (!_with.store.listRevision(revision) || revision == _sentRevision) {
        return;
    }
    _sentRevision = revision;
    if (!_hosts.empty()) {
        const QByteArray json = listJson({});
        for (const Caller& host : _hosts) {
            _with.answers.records(host, json);
        }
    }
}

} // namespace recorder
