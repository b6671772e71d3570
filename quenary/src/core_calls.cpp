// SPDX-License-Identifier: Apache-2.0
#include "core.h"

#include "network.h"

#include <algorithm>

namespace qny {

namespace {

// What is shorter is copied along with all around it.
constexpr size_t longBytes = 256;

std::string_view bytesOf(const qny_service_arg_t& argument, char& scratch)
{
    switch (argument.type) {
    case QNY_BOOL_T:
        scratch = argument.b ? '\1' : '\0';
        return { &scratch, 1 };
    case QNY_INTEGER_T:
        return { reinterpret_cast<const char*>(&argument.i), sizeof argument.i };
    case QNY_DOUBLE_T:
        return { reinterpret_cast<const char*>(&argument.d), sizeof argument.d };
    case QNY_STRING_T:
        return { argument.c, std::strlen(argument.c) + 1 };
    case QNY_DATA_T:
        return { static_cast<const char*>(argument.data), argument.size };
    default:
        return {};
    }
}

// What a call takes on the wire, before it is encoded: a refused call costs no memory.
size_t measure(const qny_service_arg_t* arguments, size_t& count)
{
    size_t bytes = 0;
    char scratch = 0;
    for (const auto* each = arguments; each; each = each->next) {
        bytes += 5 + bytesOf(*each, scratch).size();
        ++count;
    }
    return bytes;
}

} // namespace

qny_result_t Core::call(Lock& lock, const AgentPtr& from, std::string_view to, std::string_view service,
    const qny_service_arg_t* arguments, const char* token)
{
    qny_result_t result = QNY_SUCCESS;
    {
        struct Sending
        {
            explicit Sending(bool& flag)
                : isSending(flag)
            {
                isSending = true;
            }
            Sending(const Sending&) = delete;
            Sending& operator=(const Sending&) = delete;
            ~Sending() { isSending = false; }
            bool& isSending;
        } const sending(isSending);
        result = enqueueCall(from, to, service, arguments, token);
    }
    if (network) {
        network->sendWaiting(lock);
    }
    return result;
}

qny_result_t Core::enqueueCall(const AgentPtr& from, std::string_view to, std::string_view service,
    const qny_service_arg_t* arguments, const char* token)
{
    if (!started) {
        return fail(QNY_ERROR_NOT_STARTED, "A service can only be called while the network is started.");
    }
    if (!from->online) {
        return fail(
            QNY_ERROR_NOT_STARTED, "The calling agent " + from->name + " is not on the network; activate it first.");
    }
    const std::string_view tokenText = token ? std::string_view(token) : std::string_view();
    if (!isUtf8(tokenText)) {
        return fail(QNY_ERROR_UTF8, "The token is not valid UTF-8.");
    }
    size_t count = 0;
    const size_t bytes = measure(arguments, count) + tokenText.size();
    if (count > wire::maxArguments) {
        return fail(QNY_ERROR_TOO_LARGE,
            "A call has at most " + std::to_string(wire::maxArguments) + " arguments, this one has "
                + std::to_string(count) + ".");
    }
    if (bytes > options.maxMessageBytes) {
        return fail(QNY_ERROR_TOO_LARGE,
            "A call of " + std::to_string(bytes) + " bytes is beyond max_message_bytes ("
                + std::to_string(options.maxMessageBytes) + ").");
    }
    tellChanges();
    auto targets = find(to);
    std::erase_if(targets, [&](const auto& target) { return target.second->uuid == from->uuid && !uuidFromText(to); });
    if (targets.empty()) {
        return fail(QNY_ERROR_UNKNOWN_AGENT, "No agent named " + std::string(to) + " is on the network now.");
    }
    for (const auto& [peer, record] : targets) {
        if (bytes > peer->maxMessageBytes) {
            return fail(QNY_ERROR_TOO_LARGE,
                "A call of " + std::to_string(bytes) + " bytes is beyond what " + record->name + " accepts ("
                    + std::to_string(peer->maxMessageBytes) + ").");
        }
    }
    for (const auto& [peer, record] : targets) {
        std::string text;
        std::string_view last; // by itself when it is long, to be copied once only
        {
            wire::Item item(text, wire::ItemKind::Call, std::min(bytes, longBytes) + service.size() + 64);
            item->uuid(from->uuid);
            item->uuid(record->uuid);
            item->number(token ? wire::callHasToken : uint8_t { 0 });
            item->name(service);
            item->text(tokenText);
            item->number(static_cast<uint16_t>(count));
            char scratch = 0;
            for (const auto* each = arguments; each; each = each->next) {
                const std::string_view value = bytesOf(*each, scratch);
                item->number(static_cast<uint8_t>(each->type));
                if (each->next || value.size() < longBytes) {
                    item->text(value);
                } else {
                    item->number(static_cast<uint32_t>(value.size()));
                    item.isFollowedBy(value.size());
                    last = value;
                }
            }
        }
        enqueue(peer, text, Room::Always, last);
        ++statistics.callsSent;
    }
    return QNY_SUCCESS;
}

qny_result_t Core::requestStop(const AgentPtr& from, std::string_view uuid)
{
    if (!started) {
        return fail(QNY_ERROR_NOT_STARTED, "An agent can only be asked to stop while the network is started.");
    }
    tellChanges();
    const auto targets = uuidFromText(uuid) ? find(uuid) : decltype(find(uuid)) {};
    if (targets.empty() || targets.front().first->isSelf) {
        return fail(QNY_ERROR_UNKNOWN_AGENT, "No agent of another process has the uuid " + std::string(uuid) + " now.");
    }
    const auto& [peer, record] = targets.front();
    if (!record->stoppable) {
        return fail(QNY_ERROR_ARGUMENT,
            "The agent " + record->name + " cannot be asked to stop: it does not observe such requests.");
    }
    std::string text;
    {
        wire::Item item(text, wire::ItemKind::StopRequest);
        item->uuid(from->uuid);
        item->uuid(record->uuid);
    }
    enqueue(peer, text);
    return QNY_SUCCESS;
}

} // namespace qny
