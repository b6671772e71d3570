// SPDX-License-Identifier: Apache-2.0
#include "connections.h"

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <random>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <zmq.h>

namespace recorder::testing {

namespace {

constexpr int NONE = 0;
constexpr std::size_t HEADERS = 78; // of Ethernet, with what stands between two packets, IP and TCP
constexpr std::size_t MOST_IN_PACKET = 1460;

std::atomic<double> linkSpeed { 0 };

void passLinkWith(std::size_t bytes)
{
    passLink(bytes / MOST_IN_PACKET + 1, bytes);
}

sockaddr_in placeOf(const char* address, std::uint16_t port)
{
    sockaddr_in place {};
    place.sin_family = AF_INET;
    place.sin_port = htons(port);
    inet_pton(AF_INET, address, &place.sin_addr);
    return place;
}

std::string named(const std::string& name)
{
    return static_cast<char>(name.size()) + name;
}

std::string item(std::uint8_t kind, const std::string& content)
{
    return raw(static_cast<std::uint32_t>(content.size() + 1)) + static_cast<char>(kind) + content;
}

} // namespace

void setLinkSpeed(double bytesPerSecond)
{
    linkSpeed = bytesPerSecond;
}

void passLink(std::size_t packets, std::size_t bytes)
{
    using std::chrono::steady_clock;
    thread_local steady_clock::time_point isFree = steady_clock::now();
    const double speed = linkSpeed;
    if (speed <= 0) {
        return;
    }
    const std::chrono::duration<double> takes { static_cast<double>(packets * HEADERS + bytes) / speed };
    const steady_clock::time_point now = steady_clock::now();
    isFree = std::max(isFree, now - std::chrono::milliseconds(5))
        + std::chrono::duration_cast<steady_clock::duration>(takes);
    // Not for each packet: the sleep itself takes longer than many of them.
    if (isFree > now + std::chrono::milliseconds(1)) {
        std::this_thread::sleep_until(isFree);
    }
}

Connection::Connection(std::uint16_t port, const char* from)
    : _fd(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0))
{
    const sockaddr_in source = placeOf(from, 0);
    const sockaddr_in target = placeOf("127.0.0.1", port);
    const int one = 1;
    // The port is chosen by connect(): there are more for each pair of ends.
    setsockopt(_fd, IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT, &one, sizeof one);
    passLink(4); // to open it and to close it
    if (bind(_fd, reinterpret_cast<const sockaddr*>(&source), sizeof source) == 0) {
        (void)connect(_fd, reinterpret_cast<const sockaddr*>(&target), sizeof target);
    }
}

Connection::~Connection()
{
    if (_fd >= 0) {
        close(_fd);
    }
}

Connection::Connection(Connection&& other) noexcept
    : _fd(std::exchange(other._fd, -1))
{
}

std::size_t Connection::send(const std::string& bytes) const
{
    const ssize_t sent = ::send(_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    passLinkWith(sent < 0 ? 0 : static_cast<std::size_t>(sent));
    return sent < 0 ? 0 : static_cast<std::size_t>(sent);
}

bool Connection::sendAll(const std::string& bytes) const
{
    for (std::size_t at = 0; at < bytes.size();) {
        pollfd item { _fd, POLLOUT, 0 };
        if (poll(&item, 1, 1000) != 1 || (item.revents & (POLLERR | POLLHUP))) {
            return false;
        }
        const ssize_t sent = ::send(_fd, bytes.data() + at, bytes.size() - at, MSG_NOSIGNAL);
        if (sent < 0 && errno != EAGAIN) {
            return false;
        }
        at += sent < 0 ? 0 : static_cast<std::size_t>(sent);
        passLinkWith(sent < 0 ? 0 : static_cast<std::size_t>(sent));
    }
    return true;
}

bool Connection::isClosed() const
{
    char buffer[4096];
    while (true) {
        const ssize_t got = recv(_fd, buffer, sizeof buffer, MSG_DONTWAIT);
        if (got <= 0) {
            return got == 0 || (errno != EAGAIN && errno != ENOTCONN);
        }
    }
}

std::string greeting(const char* mechanism)
{
    std::string text = std::string("\xff\0\0\0\0\0\0\0\1\x7f\3\0", 12) + mechanism;
    text.resize(64, '\0');
    return text;
}

std::string ready()
{
    const std::string content = named("READY") + named("Socket-Type") + std::string("\0\0\0\6", 4) + "DEALER"
        + named("Identity") + std::string(4, '\0');
    return std::string("\4") + static_cast<char>(content.size()) + content;
}

std::string longFrame(std::uint64_t length)
{
    std::string text = "\2";
    for (int shift = 56; shift >= 0; shift -= 8) {
        text += static_cast<char>(length >> shift);
    }
    return text;
}

std::string frame(const std::string& message)
{
    return longFrame(message.size()) + message;
}

std::string Speaker::message(std::uint8_t type, const std::string& content) const
{
    return std::string("QN\1") + static_cast<char>(type) + raw(port) + std::string(2, '\0') + uuid + raw(session)
        + raw(theirs) + content;
}

std::string Speaker::hello() const
{
    return message(2,
        raw<std::uint64_t>(1'000'000) + raw<std::int64_t>(1) + named("elsewhere") + raw<std::uint32_t>(0)
            + raw<std::uint16_t>(0));
}

std::string randomBytes(std::size_t count)
{
    thread_local std::minstd_rand random(4711);
    std::string text(count, '\0');
    for (char& each : text) {
        each = static_cast<char>(random() >> 8);
    }
    return text;
}

std::string randomUuid()
{
    return randomBytes(16);
}

// ---- a peer made by hand

FalsePeer::FalsePeer(std::uint16_t port)
    : _context(zmq_ctx_new())
    , _inbox(zmq_socket(_context, ZMQ_ROUTER))
    , _outbox(zmq_socket(_context, ZMQ_DEALER))
{
    for (void* each : { _inbox, _outbox }) {
        zmq_setsockopt(each, ZMQ_LINGER, &NONE, sizeof NONE);
    }
    zmq_bind(_inbox, "tcp://127.0.0.1:*");
    char bound[128] = "";
    std::size_t size = sizeof bound;
    zmq_getsockopt(_inbox, ZMQ_LAST_ENDPOINT, bound, &size);
    const std::string endpoint = bound;
    _speaker.port = static_cast<std::uint16_t>(std::stoul(endpoint.substr(endpoint.rfind(':') + 1)));
    _speaker.uuid = randomUuid();
    zmq_connect(_outbox, ("tcp://127.0.0.1:" + std::to_string(port)).c_str());
}

FalsePeer::~FalsePeer()
{
    zmq_close(_inbox);
    zmq_close(_outbox);
    zmq_ctx_term(_context);
}

bool FalsePeer::open()
{
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    send(2, _speaker.hello().substr(40));
    while (std::chrono::steady_clock::now() < until) {
        const auto message = receive();
        if (!message || message->size() < 40) {
            continue;
        }
        std::uint64_t mine = 0;
        std::memcpy(&_speaker.theirs, message->data() + 24, sizeof _speaker.theirs);
        std::memcpy(&mine, message->data() + 32, sizeof mine);
        if (mine == _speaker.session) {
            send(3, raw<std::uint64_t>(0) + raw<std::uint64_t>(0) + raw<std::uint64_t>(0));
            return true;
        }
        send(2, _speaker.hello().substr(40));
    }
    return false;
}

void FalsePeer::enter(const std::string& name)
{
    const std::string definition
        = R"({"family":"","inputs":[],"outputs":[{"name":"noise","type":"integer"}],"services":[]})";
    sendData(item(1, _agent + '\0' + named(name) + raw(static_cast<std::uint32_t>(definition.size())) + definition)
        + item(3, {}) + item(4, {}));
}

void FalsePeer::publish(std::int32_t number)
{
    sendData(item(8,
        std::string("\5") + _agent + "noise" + '\3' + raw(++_published) + raw<std::int64_t>(1'000'000'000'000'000)
            + raw(number)));
}

void FalsePeer::leave()
{
    send(6, {});
}

void FalsePeer::answer()
{
    while (const auto message = receive()) {
        if (message->size() > 48 && (*message)[3] == 4) {
            std::memcpy(&_received, message->data() + 40, sizeof _received);
        }
    }
    send(3, raw(_number) + raw(_received) + raw(_received));
}

void FalsePeer::send(std::uint8_t type, const std::string& content)
{
    const std::string message = _speaker.message(type, content);
    _sent += frame(message);
    passLinkWith(message.size());
    zmq_send(_outbox, message.data(), message.size(), ZMQ_DONTWAIT);
}

std::optional<std::string> FalsePeer::receive()
{
    zmq_pollitem_t item { _inbox, 0, ZMQ_POLLIN, 0 };
    if (zmq_poll(&item, 1, 20) != 1) {
        return std::nullopt;
    }
    zmq_msg_t part;
    zmq_msg_init(&part);
    std::string last;
    do {
        if (zmq_msg_recv(&part, _inbox, 0) < 0) {
            break;
        }
        last.assign(static_cast<const char*>(zmq_msg_data(&part)), zmq_msg_size(&part));
    } while (zmq_msg_more(&part));
    zmq_msg_close(&part);
    return last;
}

} // namespace recorder::testing
