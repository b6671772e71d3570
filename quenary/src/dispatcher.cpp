// SPDX-License-Identifier: Apache-2.0
#include "dispatcher.h"

#include "core.h"
#include "network.h"
#include "security/handed_certificate.h"
#include "service_arguments.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <iterator>
#include <poll.h>
#include <span>
#include <sys/eventfd.h>
#include <unistd.h>

namespace qny {

namespace {
// How long the end of the process waits for a callback that is running.
constexpr std::chrono::seconds longestLastCallback { 2 };
// A batch of this process's own grows up to this size while the callback thread is busy.
constexpr size_t ownBatchBytes = 64 * 1024;

// A byte that names no type is never made a value of the enumeration, which need not have room for it.
qny_value_type_t readType(wire::Reader& reader)
{
    const auto number = reader.number<uint8_t>();
    return isValueType(number) ? static_cast<qny_value_type_t>(number) : QNY_UNKNOWN_T;
}
} // namespace

Dispatcher::Dispatcher(Core& core, std::mutex& mutex)
    : m_core(core)
    , m_mutex(mutex)
    , m_wakeFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

void Dispatcher::wake()
{
    if (!m_thread.joinable() && !m_ending) {
        m_thread = std::thread([this] { loop(); });
        m_threadId = m_thread.get_id();
    }
    wakeThread();
}

void Dispatcher::wakeThread()
{
    if (!m_isAtInbox) {
        m_arrived.notify_one();
        return;
    }
    const uint64_t one = 1;
    if (write(m_wakeFd, &one, sizeof one) < 0) {
        logDebug("the callback thread could not be woken");
    }
}

void Dispatcher::push(Batch batch)
{
    m_queue.emplace_back(std::move(batch));
    wake();
}

void Dispatcher::push(AgentChange change)
{
    m_queue.emplace_back(std::move(change));
    wake();
}

void Dispatcher::push(NewObserver observer)
{
    m_queue.emplace_back(std::move(observer));
    wake();
}

void Dispatcher::pushOwn(
    const PeerPtr& self, const AgentTablePtr& agents, std::string_view item, std::string_view value)
{
    const size_t size = item.size() + value.size();
    if (!m_queue.empty()) {
        auto* last = std::get_if<Batch>(&m_queue.back());
        if (last && last->own && last->agents == agents && last->own->size() + size <= ownBatchBytes) {
            last->own->append(item).append(value);
            last->bytes += size;
            return;
        }
    }
    Batch batch;
    batch.peer = self;
    batch.agents = agents;
    batch.own = std::make_shared<std::string>();
    batch.own->reserve(size);
    batch.own->append(item).append(value);
    batch.receivedAt = nowMicroseconds();
    batch.bytes = size;
    push(std::move(batch));
}

void Dispatcher::discardBatches()
{
    std::erase_if(m_queue, [](const Entry& entry) {
        const auto* batch = std::get_if<Batch>(&entry);
        if (batch && batch->peer->isSelf) {
            batch->peer->queuedBytes -= batch->bytes;
        }
        return batch != nullptr;
    });
}

void Dispatcher::drain(Lock& lock)
{
    if (onCallbackThread() || m_ending || !m_thread.joinable()) {
        return;
    }
    const auto reached = std::make_shared<bool>(false);
    m_queue.emplace_back(Barrier { reached });
    wake();
    m_ended.wait(lock, [&] { return *reached || m_ending; });
}

void Dispatcher::awaitEnd(Lock& lock, const CallbackPtr& callback)
{
    if (!callback || onCallbackThread()) {
        return;
    }
    m_ended.wait(lock, [&] { return m_running != callback.get(); });
}

void Dispatcher::end(Lock& lock)
{
    m_ending = true;
    wakeThread();
    m_ended.notify_all();
    if (!m_thread.joinable()) {
        return;
    }
    if (onCallbackThread()) {
        // exit() was called from inside a callback: this very thread is ending the process.
        m_thread.detach();
        return;
    }
    m_ended.wait_for(lock, longestLastCallback, [&] { return m_running == nullptr; });
    if (m_running) {
        m_thread.detach();
        return;
    }
    lock.unlock();
    m_thread.join();
    lock.lock();
}

void Dispatcher::loop()
{
    Lock lock(m_mutex);
    m_threadId = std::this_thread::get_id();
    while (true) {
        while (m_queue.empty() && !m_ending) {
            idle(lock);
        }
        if (m_ending) {
            return;
        }
        runFirst(lock);
    }
}

// Where others speak with us, it waits for their next message itself. Where nothing comes, or more than can be read at
// once, that is left to the network thread.
void Dispatcher::idle(Lock& lock)
{
    std::optional<Network::Lent> lent;
    if (std::exchange(m_hears, false) && m_core.network && m_wakeFd >= 0) {
        lent = m_core.network->lendInbox();
    }
    if (!lent) {
        m_arrived.wait(lock, [this] { return !m_queue.empty() || m_ending; });
        return;
    }
    m_isAtInbox = true;
    lock.unlock();
    // The door last: of whoever speaks at the inbox when that is looked at, it says so by then.
    pollfd watched[] { { .fd = m_wakeFd, .events = POLLIN, .revents = 0 },
        { .fd = lent->inbox, .events = POLLIN, .revents = 0 }, { .fd = lent->door, .events = POLLIN, .revents = 0 } };
    const bool hasCome = poll(watched, std::size(watched), -1) > 0;
    const auto isReady = [&](size_t which) { return hasCome && watched[which].revents != 0; };
    lock.lock();
    m_isAtInbox = false;
    uint64_t wakes = 0;
    if (isReady(0) && read(m_wakeFd, &wakes, sizeof wakes) < 0 && errno != EAGAIN) {
        logDebug("the callback thread's wake-up cannot be read");
    }
    // It may have stopped meanwhile, and even be another one: that has lent nothing.
    if (m_core.network) {
        m_core.network->takeInboxBack(lock, { .inbox = isReady(1), .door = isReady(2) });
    }
}

void Dispatcher::runFirst(Lock& lock)
{
    Entry entry = std::move(m_queue.front());
    m_queue.pop_front();
    std::visit([&](auto& each) { run(lock, each); }, entry);
}

// The lock is given up while the function runs, and nothing that was looked up before may be used after without a look.
template <typename Invoke> void Dispatcher::call(Lock& lock, const CallbackPtr& callback, Invoke&& invoke)
{
    if (!callback || callback->removed || m_ending) {
        return;
    }
    m_running = callback.get();
    lock.unlock();
    invoke();
    lock.lock();
    m_running = nullptr;
    m_ended.notify_all();
}

void Dispatcher::run(Lock&, Barrier& barrier)
{
    *barrier.reached = true;
    m_ended.notify_all();
}

namespace {

struct Told
{
    explicit Told(const AgentRecord& record)
    {
        arguments.reserve(record.program->arguments.size() + 1);
        for (const std::string& argument : record.program->arguments) {
            arguments.push_back(argument.c_str());
        }
        arguments.push_back(nullptr);
        info.uuid = record.uuidText.c_str();
        info.name = record.name.c_str();
        info.family = record.family.c_str();
        info.peer_uuid = record.peerUuid.c_str();
        info.host_name = record.hostName.c_str();
        info.address = record.address.c_str();
        info.process_id = record.processId;
        info.executable = record.program->executable.c_str();
        info.arguments = arguments.data();
        info.arguments_count = record.program->arguments.size();
        info.definition = record.definition.c_str();
        info.stand_in = record.standIn;
        info.stoppable = record.stoppable;
        info.public_key = record.publicKey.c_str();
        info.certificate_name = record.certificateName.c_str();
    }

    std::vector<const char*> arguments;
    qny_agent_info_t info {};
};

} // namespace

void Dispatcher::run(Lock& lock, AgentChange& change)
{
    m_core.announce(lock, change);
    if (change.agent->ofThisProcess) {
        return;
    }
    Told told(*change.agent);
    told.info.fell_silent = change.fellSilent;
    const std::vector<CallbackPtr> observers = m_core.agentObservers;
    for (const CallbackPtr& observer : observers) {
        call(lock, observer, [&] { observer->agentEvent(change.event, &told.info, observer->userData); });
    }
}

void Dispatcher::run(Lock& lock, NewObserver& observer)
{
    // Who is there already comes first; only then does the observer hear of changes.
    std::vector<AgentRecordPtr> present;
    for (const auto& [uuid, from] : m_core.announced) {
        if (!from.record->ofThisProcess) {
            present.push_back(from.record);
        }
    }
    std::erase(m_core.observersToCome, observer.callback);
    if (observer.callback->removed) {
        return;
    }
    m_core.agentObservers.push_back(observer.callback);
    for (const AgentRecordPtr& record : present) {
        const Told told(*record);
        call(lock, observer.callback,
            [&] { observer.callback->agentEvent(QNY_AGENT_ENTERED, &told.info, observer.callback->userData); });
    }
    std::erase_if(m_core.agentObservers, [](const CallbackPtr& each) { return each->removed; });
}

void Dispatcher::run(Lock& lock, Batch& batch)
{
    if (batch.own) {
        batch.items = *batch.own;
        batch.receivedAt = nowMicroseconds();
    }
    std::string_view rest = batch.items;
    const uint64_t epoch = m_core.epoch;
    while (!rest.empty() && !m_ending && epoch == m_core.epoch && !batch.peer->isCutOff) {
        wire::Reader reader(rest);
        const auto length = reader.number<uint32_t>();
        const std::string_view body = reader.bytes(length);
        // Whole items only: who pushed the batch has cut it so.
        if (!reader.ok() || body.empty()) {
            m_core.refuse("a broken item from peer " + batch.peer->uuidText);
            break;
        }
        rest.remove_prefix(sizeof length + length);
        const auto kind = static_cast<wire::ItemKind>(body[0]);
        if (!runItem(lock, batch, kind, body.substr(1))) {
            m_core.refuse("a malformed item of kind " + std::to_string(body[0]) + " from peer " + batch.peer->uuidText);
        }
    }
    if (batch.peer->isSelf) {
        batch.peer->queuedBytes -= batch.bytes;
        if (!batch.peer->dropped.empty()) {
            m_core.tellDropped(batch.peer);
        }
        return;
    }
    m_hears = true;
    batch.peer->consumedPieces += batch.pieces;
    batch.peer->consumedBytes += batch.bytes;
    if (batch.peer->consumedBytes - batch.peer->consumedBytesTold >= Network::windowBytes / 8) {
        m_core.serveSoon(batch.peer);
    }
}

bool Dispatcher::runItem(Lock& lock, Batch& batch, wire::ItemKind kind, std::string_view payload)
{
    switch (kind) {
    case wire::ItemKind::Publication:
        return runPublication(lock, batch, payload);
    case wire::ItemKind::Last:
        return runLast(lock, batch, payload);
    case wire::ItemKind::Gap:
        return runGap(batch, payload);
    case wire::ItemKind::Call:
        return runCall(lock, batch, payload);
    case wire::ItemKind::StopRequest:
        return runStopRequest(lock, batch, payload);
    default:
        return false;
    }
}

bool Dispatcher::prepare(
    Batch& batch, const Uuid& agent, qny_value_type_t type, std::string_view bytes, Arrival& arrival)
{
    if (!batch.from || batch.from->uuid != agent) {
        const auto it = batch.agents->find(agent);
        if (it == batch.agents->end()) {
            return false;
        }
        batch.from = it->second;
    }
    if (bytesProblem(type, bytes)) {
        return false;
    }
    arrival.bytes = bytes;
    arrival.batch = &batch;
    arrival.told.type = type;
    arrival.told.size = bytes.size();
    arrival.told.received_us = batch.receivedAt;
    arrival.told.stand_in = batch.from->standIn;
    return true;
}

const std::vector<FeedPtr>* Dispatcher::feedsOf(std::string_view key)
{
    if (m_feedsChanged != m_core.feedsChanged || m_feedsKey != key) {
        const auto it = m_core.feeds.find(key);
        m_feeds = it == m_core.feeds.end() ? nullptr : &it->second;
        m_feedsKey = key;
        m_feedsChanged = m_core.feedsChanged;
    }
    return m_feeds;
}

namespace {

// A callback may change the list that it is in: what it held before is gone through to the end. The common single one
// is held without a copy of the list.
template <typename Pointer> class Held
{
public:
    explicit Held(const std::vector<Pointer>& list)
    {
        if (list.size() == 1) {
            m_single = list.front();
        } else {
            m_several = list;
        }
    }
    std::span<const Pointer> all() const { return m_single ? std::span(&m_single, 1) : std::span(m_several); }

private:
    Pointer m_single;
    std::vector<Pointer> m_several;
};

} // namespace

bool Dispatcher::runPublication(Lock& lock, Batch& batch, std::string_view payload)
{
    wire::Reader reader(payload);
    const auto nameLength = reader.number<uint8_t>();
    const std::string_view key = reader.bytes(sizeof(Uuid) + nameLength);
    const auto type = readType(reader);
    Arrival arrival {};
    arrival.told.sequence = reader.number<uint64_t>();
    arrival.told.time_us = reader.number<int64_t>();
    const std::string_view bytes = reader.rest();
    Uuid agent {};
    if (!reader.ok()) {
        return false;
    }
    std::memcpy(agent.data(), key.data(), agent.size());
    if (!prepare(batch, agent, type, bytes, arrival)) {
        return false;
    }
    if (!batch.peer->isSelf) {
        ++m_core.statistics.publicationsReceived;
    }
    const uint64_t sequence = arrival.told.sequence;
    uint64_t lost = 0;
    std::shared_ptr<Monitor> monitor;
    if (const auto it = m_core.monitors.find(agent); it != m_core.monitors.end()) {
        monitor = it->second;
        const std::string_view output = key.substr(sizeof(Uuid));
        // Each output's count begins with the answer to the subscription.
        const auto count = monitor->outputs.find(output);
        if (count != monitor->outputs.end() && sequence > count->second.sequence) {
            lost = sequence - count->second.sequence - 1;
            arrival.told.lost = lost + std::exchange(count->second.pendingLost, 0);
            count->second.sequence = sequence;
            deliver(lock, *monitor, count->first, *batch.from, arrival);
        }
    }
    if (const std::vector<FeedPtr>* const feeds = feedsOf(key)) {
        const Held<FeedPtr> held(*feeds);
        for (const FeedPtr& feed : held.all()) {
            if (!feed->counting || sequence <= feed->sequence) {
                continue;
            }
            const uint64_t missing = sequence - feed->sequence - 1;
            arrival.told.lost = missing + std::exchange(feed->pendingLost, 0);
            arrival.newlyLost = missing;
            feed->sequence = sequence;
            lost = std::max(lost, missing);
            deliver(lock, feed, *batch.from, arrival);
        }
    }
    m_core.statistics.publicationsLost += lost;
    return true;
}

bool Dispatcher::runLast(Lock& lock, Batch& batch, std::string_view payload)
{
    wire::Reader reader(payload);
    const auto id = reader.number<uint64_t>();
    const Uuid agent = reader.uuid();
    const auto flags = reader.number<uint8_t>();
    const auto type = readType(reader);
    Arrival arrival {};
    arrival.told.sequence = reader.number<uint64_t>();
    arrival.told.time_us = reader.number<int64_t>();
    arrival.told.last_value = true;
    const std::string_view output = reader.name();
    const std::string_view bytes = reader.rest();
    if (!reader.ok()) {
        return false;
    }
    const bool hasValue = flags & wire::lastHasValue;
    if (hasValue && !prepare(batch, agent, type, bytes, arrival)) {
        return false;
    }
    const uint64_t sequence = arrival.told.sequence;
    if (const auto it = m_core.feedsById.find(id); it != m_core.feedsById.end()) {
        const FeedPtr feed = it->second;
        if (feed->agent != agent || feed->peer != batch.peer || feed->output != output) {
            return false;
        }
        uint64_t missing = 0;
        if (feed->counting && sequence > feed->sequence) {
            missing = sequence - feed->sequence;
            m_core.statistics.publicationsLost += missing;
        }
        feed->counting = true;
        feed->sequence = std::max(feed->sequence, sequence);
        if (hasValue) {
            arrival.told.lost = missing + std::exchange(feed->pendingLost, 0);
            arrival.newlyLost = missing;
            deliver(lock, feed, *batch.from, arrival);
        } else {
            feed->pendingLost += missing;
            countLost(*feed, missing);
        }
        return true;
    }
    const auto it = m_core.monitors.find(agent);
    if (it != m_core.monitors.end() && it->second->id == id && it->second->peer == batch.peer) {
        const std::shared_ptr<Monitor> monitor = it->second;
        auto count = monitor->outputs.find(output);
        if (count == monitor->outputs.end()) {
            if (monitor->outputs.size() >= maxMonitoredOutputs) {
                return false;
            }
            count = monitor->outputs.emplace(output, Monitor::Count { sequence, 0 }).first;
        }
        const uint64_t missing = sequence - std::min(sequence, count->second.sequence);
        m_core.statistics.publicationsLost += missing;
        count->second.sequence += missing;
        count->second.pendingLost += missing;
        if (hasValue) {
            arrival.told.lost = std::exchange(count->second.pendingLost, 0);
            deliver(lock, *monitor, count->first, *batch.from, arrival);
        }
    }
    return true; // an answer to a subscription that was withdrawn meanwhile is no fault
}

bool Dispatcher::runGap(const Batch& batch, std::string_view payload)
{
    wire::Reader reader(payload);
    const auto nameLength = reader.number<uint8_t>();
    const std::string_view key = reader.bytes(sizeof(Uuid) + nameLength);
    const auto sequence = reader.number<uint64_t>();
    if (!reader.atEnd()) {
        return false;
    }
    Uuid agent {};
    std::memcpy(agent.data(), key.data(), agent.size());
    // Whoever could say it of another's output would silence it: what that publishes next would count as seen.
    if (!batch.agents->contains(agent)) {
        return false;
    }
    uint64_t lost = 0;
    if (const auto it = m_core.feeds.find(key); it != m_core.feeds.end()) {
        for (const FeedPtr& feed : it->second) {
            if (feed->counting && sequence > feed->sequence) {
                const uint64_t missing = sequence - feed->sequence;
                feed->sequence = sequence;
                feed->pendingLost += missing;
                countLost(*feed, missing);
                lost = std::max(lost, missing);
            }
        }
    }
    if (const auto it = m_core.monitors.find(agent); it != m_core.monitors.end()) {
        const auto count = it->second->outputs.find(key.substr(sizeof(Uuid)));
        if (count != it->second->outputs.end() && sequence > count->second.sequence) {
            const uint64_t missing = sequence - count->second.sequence;
            count->second.sequence = sequence;
            count->second.pendingLost += missing;
            lost = std::max(lost, missing);
        }
    }
    m_core.statistics.publicationsLost += lost;
    return true;
}

void Dispatcher::countLost(const Feed& feed, uint64_t lost)
{
    const MappingPtr mapping = feed.mapping.lock();
    const AgentPtr agent = mapping ? mapping->agent.lock() : nullptr;
    if (Input* input = agent ? agent->inputs.find(mapping->input) : nullptr) {
        input->lost += lost;
    }
}

void Dispatcher::deliver(
    Lock& lock, Monitor& monitor, const std::string& output, const AgentRecord& from, Arrival& arrival)
{
    const CallbackPtr callback = monitor.callback;
    qny_publication_t& told = arrival.told;
    const std::string scalarBytes
        = told.type == QNY_STRING_T || told.type == QNY_DATA_T ? std::string() : std::string(arrival.bytes);
    told.agent_uuid = from.uuidText.c_str();
    told.agent_name = from.name.c_str();
    told.output = output.c_str();
    told.value = arrival.bytes.empty() ? nullptr : scalarBytes.empty() ? arrival.bytes.data() : scalarBytes.data();
    call(lock, callback, [&] { callback->publication(&told, callback->userData); });
}

void Dispatcher::deliver(Lock& lock, const FeedPtr& feed, const AgentRecord& from, Arrival& arrival)
{
    const MappingPtr mapping = feed->mapping.lock();
    const AgentPtr agent = mapping ? mapping->agent.lock() : nullptr;
    Input* input = agent ? agent->inputs.find(mapping->input) : nullptr;
    if (!input) {
        return;
    }
    qny_publication_t& told = arrival.told;
    input->lost += arrival.newlyLost;
    const bool converts = told.type != input->type;
    std::optional<Value> converted;
    if (converts) {
        converted = convert(told.type, arrival.bytes, input->type);
        if (!converted) {
            const int64_t now = steadyMilliseconds();
            if (mapping->lastWarning == 0 || now - mapping->lastWarning > 1000) {
                mapping->lastWarning = now;
                logWarning("a value of " + from.name + "." + feed->output + " (" + qny_value_type_text(told.type)
                    + ") does not convert into the input " + input->name + " (" + qny_value_type_text(input->type)
                    + ") and was dropped");
            }
            feed->pendingLost += told.lost;
            return;
        }
    }
    input->hasValue = true;
    const qny_value_type_t inputType = input->type;
    const std::string inputName = input->name;
    const Held<CallbackPtr> observers(input->observers);
    // Such a callback may write into what it is shown.
    const auto mayWrite = [](const CallbackPtr& each) { return each->kind == Callback::Kind::Io; };
    const bool mayStay = !converted && std::ranges::none_of(observers.all(), mayWrite);
    input->value.set(converted ? std::string_view(converted->bytes) : arrival.bytes,
        mayStay ? arrival.batch->keep : nullptr, arrival.batch->keepBytes);
    // Scalars are handed out aligned; texts and data where they are.
    const bool longSent = told.type == QNY_STRING_T || told.type == QNY_DATA_T;
    std::string sent = longSent ? std::string() : std::string(arrival.bytes);
    const void* sentValue = arrival.bytes.empty() ? nullptr : longSent ? arrival.bytes.data() : sent.data();
    void* written
        = converted ? (converted->bytes.empty() ? nullptr : converted->bytes.data()) : const_cast<void*>(sentValue);
    const size_t writtenSize = converted ? converted->bytes.size() : arrival.bytes.size();
    told.agent_uuid = from.uuidText.c_str();
    told.agent_name = from.name.c_str();
    told.output = feed->output.c_str();
    told.value = sentValue;
    for (const CallbackPtr& observer : observers.all()) {
        call(lock, observer, [&] {
            if (observer->kind == Callback::Kind::Io) {
                observer->io(QNY_INPUT_T, inputName.c_str(), inputType, written, writtenSize, observer->userData);
            } else {
                observer->publication(&told, observer->userData);
            }
        });
    }
}

bool Dispatcher::runCall(Lock& lock, const Batch& batch, std::string_view payload)
{
    wire::Reader reader(payload);
    const Uuid callerUuid = reader.uuid();
    const Uuid calleeUuid = reader.uuid();
    const auto flags = reader.number<uint8_t>();
    const std::string serviceName(reader.name());
    const std::string token(reader.text());
    const auto count = reader.number<uint16_t>();
    const auto caller = batch.agents->find(callerUuid);
    if (!reader.ok() || count > wire::maxArguments || caller == batch.agents->end() || !isUtf8(token)
        || token.find('\0') != std::string::npos) {
        return false;
    }
    ++m_core.statistics.callsReceived;
    const AgentPtr callee = m_core.onlineAgent(calleeUuid);
    Service* service = callee ? callee->services.find(serviceName) : nullptr;
    ReceivedArguments arguments(count);
    for (size_t i = 0; i < count; ++i) {
        const auto type = readType(reader);
        const std::string_view bytes = reader.text();
        if (!reader.ok() || type == QNY_IMPULSE_T || bytesProblem(type, bytes)) {
            return false;
        }
        const bool declared = service && i < service->arguments.size();
        arguments.add(type, bytes, declared ? std::string_view(service->arguments[i].name) : std::string_view());
    }
    if (!reader.atEnd()) {
        return false;
    }
    if (!service || !service->callback) {
        m_core.warnSeldom(m_core.badCalls,
            "the agent " + caller->second->name + " called the service '" + printable(serviceName)
                + (callee ? "', which " + callee->name + " does not offer" : "' of an agent that has left"));
        return true;
    }
    const CallbackPtr callback = service->callback;
    const AgentRecordPtr from = caller->second;
    const CertificatePtr certificate = batch.peer->certificate;
    call(lock, callback, [&] {
        const CallerScope scope(certificate.get());
        callback->service(from->name.c_str(), from->uuidText.c_str(), serviceName.c_str(), arguments.first(), count,
            flags & wire::callHasToken ? token.c_str() : nullptr, callback->userData);
    });
    return true;
}

bool Dispatcher::runStopRequest(Lock& lock, const Batch& batch, std::string_view payload)
{
    wire::Reader reader(payload);
    const auto from = batch.agents->find(reader.uuid());
    const AgentPtr asked = m_core.onlineAgent(reader.uuid());
    if (!reader.atEnd() || from == batch.agents->end()) {
        return false;
    }
    const CallbackPtr callback = m_core.stopCallback;
    if (!asked || asked->standIn || !callback) {
        m_core.warnSeldom(m_core.badCalls, "the agent " + from->second->name + " asks to stop what cannot be stopped");
        return true;
    }
    const AgentRecordPtr record = from->second;
    const CertificatePtr certificate = batch.peer->certificate;
    call(lock, callback, [&] {
        const CallerScope scope(certificate.get());
        callback->stop(record->name.c_str(), record->uuidText.c_str(), callback->userData);
    });
    return true;
}

} // namespace qny
