// SPDX-License-Identifier: Apache-2.0
// The exported functions that concern the process and its network.
#include "core.h"

#include "command_line.h"
#include "devices.h"
#include "handed_out.h"
#include "network.h"

#include <charconv>
#include <cstdlib>
#include <unistd.h>

using namespace qny;

const char* qny_result_text(qny_result_t result)
{
    switch (result) {
    case QNY_SUCCESS:
        return "success";
    case QNY_ERROR_ARGUMENT:
        return "bad argument";
    case QNY_ERROR_NAME:
        return "bad name";
    case QNY_ERROR_UTF8:
        return "not UTF-8";
    case QNY_ERROR_EXISTS:
        return "exists already";
    case QNY_ERROR_UNKNOWN:
        return "unknown";
    case QNY_ERROR_UNKNOWN_AGENT:
        return "unknown agent";
    case QNY_ERROR_TYPE:
        return "wrong type";
    case QNY_ERROR_TOO_LARGE:
        return "too large";
    case QNY_ERROR_STARTED:
        return "already started";
    case QNY_ERROR_NOT_STARTED:
        return "not started";
    case QNY_ERROR_DEVICE:
        return "no device";
    case QNY_ERROR_PORT_IN_USE:
        return "port in use";
    case QNY_ERROR_SECURITY:
        return "not secure";
    case QNY_ERROR_SYSTEM:
        return "system error";
    }
    return "unknown result";
}

const char* qny_last_error(void)
{
    return lastError();
}

void qny_free(void* memory)
{
    std::free(memory); // NOLINT: see handed_out.h
}

const char* qny_version(void)
{
    return "1.0.0";
}

void qny_log_set_handler(qny_log_fn handler, void* user_data)
{
    setLogHandler(handler, user_data);
}

namespace {

std::string environment(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::string givenOr(const char* given, const char* variable)
{
    return given && *given ? given : environment(variable);
}

std::string systemHostName()
{
    if (const std::string name = environment("QNY_HOST_NAME"); !name.empty()) {
        return isUtf8(name) ? name : printable(name);
    }
    char name[256] = "";
    if (gethostname(name, sizeof name - 1) != 0 || !name[0]) {
        return "localhost";
    }
    return isUtf8(name) ? name : printable(name);
}

bool readPort(std::string_view text, uint16_t& into)
{
    const auto result = std::from_chars(text.data(), text.data() + text.size(), into);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() && into != 0;
}

// "5671", or "5671-5690".
bool readPorts(std::string_view text, std::pair<uint16_t, uint16_t>& into)
{
    const size_t dash = std::min(text.find('-'), text.size());
    if (!readPort(text.substr(0, dash), into.first)) {
        return false;
    }
    into.second = into.first;
    return dash == text.size() || (readPort(text.substr(dash + 1), into.second) && into.second >= into.first);
}

qny_result_t readPeers(std::string_view text, std::vector<std::pair<std::string, uint16_t>>& into)
{
    while (!text.empty()) {
        const size_t comma = std::min(text.find(','), text.size());
        std::string_view each = text.substr(0, comma);
        text.remove_prefix(std::min(comma + 1, text.size()));
        while (!each.empty() && each.front() == ' ') {
            each.remove_prefix(1);
        }
        while (!each.empty() && each.back() == ' ') {
            each.remove_suffix(1);
        }
        if (each.empty()) {
            continue;
        }
        const size_t colon = each.rfind(':');
        std::string_view host = each.substr(0, std::min(colon, each.size()));
        std::pair<uint16_t, uint16_t> ports;
        bool sound = colon != std::string_view::npos && readPorts(each.substr(colon + 1), ports);
        if (host.starts_with('[') && host.ends_with(']')) {
            host = host.substr(1, host.size() - 2);
        } else {
            sound = sound && host.find(':') == std::string_view::npos;
        }
        constexpr std::string_view allowed = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-_:%";
        if (!sound || host.empty() || host.find_first_not_of(allowed) != std::string_view::npos) {
            return fail(QNY_ERROR_ARGUMENT,
                "The peer '" + printable(each)
                    + "' is not of the form host:port or host:port-port (an IPv6 host in brackets, ports from 1 to "
                      "65535).");
        }
        if (into.size() + ports.second - ports.first >= maxNamedPeers) {
            return fail(QNY_ERROR_ARGUMENT,
                "The peers are more than " + std::to_string(maxNamedPeers) + ", each port of a range being one.");
        }
        for (uint32_t port = ports.first; port <= ports.second; ++port) {
            into.emplace_back(host, static_cast<uint16_t>(port));
        }
    }
    return QNY_SUCCESS;
}

} // namespace

void qny_options_init(qny_options_t* options)
{
    if (options) {
        *options = {};
        options->multicast = true;
    }
}

qny_result_t qny_start(const qny_options_t* given)
{
    qny_options_t defaults;
    qny_options_init(&defaults);
    const qny_options_t& from = given ? *given : defaults;
    Options options;
    options.privateCertificate = givenOr(from.private_certificate, "QNY_PRIVATE_CERTIFICATE");
    options.publicCertificates = givenOr(from.public_certificates, "QNY_PUBLIC_CERTIFICATES");
    if (from.device && *from.device) {
        options.device = from.device;
    } else if (const std::string device = environment("QNY_DEVICE"); !device.empty()) {
        options.device = device;
    }
    if (from.port != 0) {
        options.port = from.port;
    } else if (const std::string port = environment("QNY_PORT"); !port.empty() && !readPort(port, options.port)) {
        return fail(QNY_ERROR_ARGUMENT, "QNY_PORT holds '" + printable(port) + "', which is no port from 1 to 65535.");
    }
    const std::string peers = from.peers ? from.peers : environment("QNY_PEERS");
    if (const qny_result_t result = readPeers(peers, options.peers); result != QNY_SUCCESS) {
        return result;
    }
    options.listenPorts = { from.listen_port, from.listen_port };
    if (const std::string ports = environment("QNY_LISTEN");
        from.listen_port == 0 && !ports.empty() && !readPorts(ports, options.listenPorts)) {
        return fail(QNY_ERROR_ARGUMENT,
            "QNY_LISTEN holds '" + printable(ports)
                + "', which is neither a port from 1 to 65535 nor two of them as "
                  "5671-5690.");
    }
    options.multicast = from.multicast;
    options.hostName = from.host_name && *from.host_name ? from.host_name : systemHostName();
    if (!isUtf8(options.hostName)) {
        return fail(QNY_ERROR_UTF8, "The host name is not valid UTF-8.");
    }
    if (options.hostName.size() > maxNameBytes) {
        return fail(QNY_ERROR_ARGUMENT, "The host name is longer than 255 bytes.");
    }
    if (hasControl(options.hostName)) {
        return fail(QNY_ERROR_ARGUMENT, "The host name holds control characters.");
    }
    // What a length on the wire can say, with room for what else an item holds.
    constexpr size_t most = UINT32_MAX / 2;
    if (from.max_message_bytes > most) {
        return fail(QNY_ERROR_ARGUMENT, "max_message_bytes is beyond " + std::to_string(most) + ".");
    }
    if (from.max_message_bytes != 0) {
        options.maxMessageBytes = from.max_message_bytes;
    }
    if (from.max_peer_queue_bytes != 0) {
        options.maxPeerQueueBytes = from.max_peer_queue_bytes;
    }
    try {
        return Core::instance().start(options);
    } catch (const std::exception& error) {
        return fail(QNY_ERROR_SYSTEM, std::string("The network cannot be started: ") + error.what() + ".");
    }
}

void qny_stop(void)
{
    Core::instance().stop();
}

bool qny_is_secured(void)
{
    Core& core = Core::instance();
    const Lock lock(core.mutex);
    return core.started && core.self->certificate;
}

bool qny_is_let_in(const char* public_key)
{
    Core& core = Core::instance();
    const Lock lock(core.mutex);
    return core.started && core.network->isLetIn(public_key ? public_key : "");
}

bool qny_is_started(void)
{
    Core& core = Core::instance();
    const Lock lock(core.mutex);
    return core.started;
}

char* qny_endpoint(void)
{
    Core& core = Core::instance();
    const Lock lock(core.mutex);
    return core.started ? duplicate(core.endpoint) : nullptr;
}

char* qny_host_name(void)
{
    Core& core = Core::instance();
    const Lock lock(core.mutex);
    return duplicate(core.shownHostName.empty() ? systemHostName() : core.shownHostName);
}

qny_device_t* qny_devices(size_t* count)
{
    const std::vector<Device> devices = listDevices();
    if (count) {
        *count = devices.size();
    }
    if (devices.empty()) {
        return nullptr;
    }
    size_t bytes = devices.size() * sizeof(qny_device_t);
    for (const Device& device : devices) {
        bytes += device.name.size() + device.address.size() + 2;
    }
    auto* list = static_cast<qny_device_t*>(allocate(bytes));
    char* text = reinterpret_cast<char*>(list + devices.size());
    const auto put = [&text](const std::string& from) {
        char* at = text;
        std::memcpy(at, from.c_str(), from.size() + 1);
        text += from.size() + 1;
        return at;
    };
    for (size_t i = 0; i < devices.size(); ++i) {
        list[i].name = put(devices[i].name);
        list[i].address = put(devices[i].address);
        list[i].loopback = devices[i].loopback;
    }
    return list;
}

qny_result_t qny_set_command_line(int argc, const char* const* argv, const char* const* masked_options)
{
    if (argc < 0 || (argc > 0 && !argv)) {
        return fail(QNY_ERROR_ARGUMENT, "The arguments are null, or their number is negative.");
    }
    std::vector<std::string> arguments;
    size_t bytes = 0;
    for (int i = 1; i < argc; ++i) {
        if (!argv[i]) {
            return fail(QNY_ERROR_ARGUMENT, "The argument " + std::to_string(i) + " is null.");
        }
        // A command line may hold any bytes; others are shown text.
        arguments.emplace_back(isUtf8(argv[i]) ? std::string(argv[i]) : printable(argv[i]));
        bytes += arguments.back().size() + sizeof(uint32_t);
    }
    if (arguments.size() > wire::maxCommandLineArguments || bytes > wire::maxCommandLineBytes) {
        return fail(QNY_ERROR_TOO_LARGE,
            "A command line that is shown to others has at most " + std::to_string(wire::maxCommandLineArguments)
                + " arguments and " + std::to_string(wire::maxCommandLineBytes) + " bytes.");
    }
    std::vector<std::string> masked;
    for (const char* const* each = masked_options; each && *each; ++each) {
        masked.emplace_back(*each);
    }
    Core& core = Core::instance();
    const Lock lock(core.mutex);
    if (core.started) {
        return fail(QNY_ERROR_STARTED, "The command line is set before the network is started.");
    }
    core.commandLine = maskCommandLine(arguments, masked);
    return QNY_SUCCESS;
}

void qny_statistics(qny_statistics_t* into)
{
    if (!into) {
        return;
    }
    Core& core = Core::instance();
    const Lock lock(core.mutex);
    into->publications_sent = core.statistics.publicationsSent;
    into->publications_received = core.statistics.publicationsReceived;
    into->publications_dropped = core.statistics.publicationsDropped;
    into->publications_lost = core.statistics.publicationsLost;
    into->calls_sent = core.statistics.callsSent;
    into->calls_received = core.statistics.callsReceived;
    into->messages_refused = core.statistics.messagesRefused;
    into->connections_refused = core.statistics.connectionsRefused;
    into->queued_bytes = core.self->queuedBytes;
    for (const auto& [uuid, peer] : core.peers) {
        into->queued_bytes += peer->queuedBytes;
    }
}

const char* qny_value_type_text(qny_value_type_t type)
{
    static constexpr const char* texts[] = { "unknown", "impulse", "bool", "integer", "double", "string", "data" };
    return isValueType(type) ? texts[type] : texts[0];
}

qny_value_type_t qny_value_type_from_text(const char* text)
{
    for (int type = QNY_IMPULSE_T; text && type <= QNY_DATA_T; ++type) {
        if (std::string_view(text) == qny_value_type_text(static_cast<qny_value_type_t>(type))) {
            return static_cast<qny_value_type_t>(type);
        }
    }
    return QNY_UNKNOWN_T;
}

bool qny_name_is_valid(const char* name, bool of_agent)
{
    return name && nameProblem(name, of_agent).empty();
}
