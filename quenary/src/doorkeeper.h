// SPDX-License-Identifier: Apache-2.0
// Who stands at this peer's address. Anybody may connect there and say nothing, or nothing sensible: as many may stay
// as leave room for those who belong here, and of those who must go, the ones go first of whose address most are there,
// and who are there longest. Only with the network's turn (network.h).
#pragma once

#include "connection_monitor.h"
#include "message_origin.h"
#include "text.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>
#include <zmq.hpp>

namespace qny {

// As many files and connections as the bounds of docs/wire-protocol.md take may be open, if the system's administrator
// allows that: the limit that a process begins with is often lower.
void raiseDescriptorLimit();
// 0 when the descriptor is no connection.
uint16_t portOfOtherEnd(int fd);
// That came by a connection so far, read or not; 0 when the system does not say.
uint64_t bytesReceived(int fd);

class Doorkeeper
{
public:
    // Connections of which it is not known that they are a peer's.
    static constexpr size_t maxStrangers = 256;
    // Says of a connection to us, by its descriptor and the port at the other end, whether it is a peer's.
    using IsPeers = std::function<bool(int fd, uint16_t port)>;

    // The inbox outlives it.
    Doorkeeper(zmq::context_t& context, zmq::socket_t& inbox);

    zmq::socket_t& socket() { return m_monitor.socket(); }
    void setPort(uint16_t port) { m_port = port; }

    struct TurnedAway
    {
        size_t count = 0;
        bool isOtherMechanism = false; // one of them, or more
        bool isMoreLeft = false; // than is taken in at once
    };
    // Takes in who came and went.
    TurnedAway attend();
    // Lets nobody in for now. Who knocks meanwhile knocks again by himself, a second later.
    void shut(int64_t now);
    // When it has been shut for long: a peer may go on sending, and others come in all the same.
    void openAfter(int64_t now)
    {
        if (m_isShut && now >= m_openAt) {
            open();
        }
    }
    // Ends those that are no peer's but `most`.
    void endStrangers(const IsPeers& isPeers, size_t most);
    bool isCrowded() const { return m_visitors.size() > maxStrangers; }
    // A connection speaks for one peer, the first that it names: who names more only wants to keep us busy.
    // Messages of one that is gone may still come when its descriptor is another's.
    bool speaksFor(const zmq::message_t& message, const Uuid& peer);
    // Each message has more on its way, of encryption.
    void setSecured() { m_around = 33; }
    // A whole message was read that came by this descriptor.
    void heard(int fd, size_t bytes)
    {
        if (fd >= 0) {
            const size_t frame = bytes + m_around;
            m_heard.resize(std::max(m_heard.size(), static_cast<size_t>(fd) + 1));
            m_heard[static_cast<size_t>(fd)] += frame + (frame > 255 ? 9 : 2);
        }
    }
    // There is no more to be read: whoever was to wait for that may come in.
    void heardAll()
    {
        m_isAllHeard = true;
        m_refused.clear();
        open();
    }
    // Ends those that go on sending and never come to the end of a message: one may have parts without number, and
    // ZeroMQ keeps them all until the last. And those that send more than can be read: ZeroMQ keeps that, too. To be
    // called when what was whole has been read, or every connection's turn has come.
    void endEndless(const IsPeers& isPeers, int64_t now);
    // Something that somebody sent was refused. Who goes on and on with that is ended.
    void refuse(const zmq::message_t& message);
    // What such a one has left behind need not be looked at.
    bool isRefused(const zmq::message_t& message) const { return m_refused.contains(connectionOf(message)); }

private:
    struct Visitor
    {
        std::string address;
        uint16_t port = 0;
        uint64_t number = 0; // in the order in which they came
        const void* connection = nullptr; // on which that was said
        std::optional<Uuid> peer {};
        const void* refusedConnection = nullptr; // of which something was refused last
        int refused = 0; // messages of that
        uint64_t refusedBytes = 0;
        uint64_t bytes = 0; // that had come when a message of it was read last, or soon after
        uint64_t read = 0; // of those that came, in messages that were read
        bool isPassed = false; // in the last looks, when all was read
        bool isHeard = false; // since the last look that did not pass it
        bool isEnded = false; // by us; it is told when it is gone
    };
    void open();
    void enter(int fd);
    bool end(int fd, const Visitor& visitor) const;

    ConnectionMonitor m_monitor;
    uint16_t m_port = 0;
    std::vector<int> m_listeners; // descriptors
    bool m_isShut = false;
    int64_t m_openAt = 0;
    int64_t m_nextWarning = 0;
    uint64_t m_count = 0;
    std::map<int, Visitor> m_visitors; // by descriptor
    size_t m_around = 0;
    std::vector<uint64_t> m_heard; // bytes by descriptor, since the last look
    bool m_isAllHeard = false; // since then, at some moment
    std::map<const void*, zmq::message_t> m_refused; // by connection, with a message of it
    int64_t m_nextLook = 0;
    unsigned m_looks = 0;
};

} // namespace qny
