// SPDX-License-Identifier: Apache-2.0
// The link to one peer: its socket, the handshake, and the numbered stream in each direction. Only with the network's
// turn (network.h); what callers' threads need of a peer is in Peer.
#pragma once

#include "connection_monitor.h"
#include "model.h"
#include "one_way.h"
#include "poller.h"

#include <deque>
#include <memory>
#include <string>
#include <zmq.hpp>

namespace qny {

class Core;
class Security;

// What a Hello tells of this process.
struct Identity
{
    Uuid uuid {};
    uint16_t port = 0;
    std::string hello; // payload, the same for everybody
};

std::string helloPayload(const Peer& self);
// Says what is wrong with it, or nothing.
std::string readHello(std::string_view payload, Peer& into);

// Where a peer is, and who it has to be.
struct Destination
{
    Uuid uuid {};
    std::string address;
    uint16_t port = 0;
    CertificatePtr certificate; // null without security
};

// Where else beacons say that a peer is, while one place is tried. Which of them is tried next is left to chance:
// whoever lets the others hear false ones at the right moments has no more of it than by their number.
class OtherPlaces
{
public:
    void note(const Destination& place);
    // With that one.
    Destination takeAny(const Destination& place);

private:
    std::vector<Destination> m_places;
    size_t m_noted = 0;
};

class Link
{
public:
    // Security: null when there is none.
    Link(Core& core, zmq::context_t& context, Poller& poller, const Identity& identity, const Destination& to,
        const std::string& sourceAddress, const Security* security);
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    const PeerPtr& peer() const { return m_peer; }
    zmq::socket_t& socket() { return m_socket; }
    uint16_t port() const { return m_port; }
    const std::string& address() const { return m_address; }
    // "host:port"
    std::string place() const { return m_address + ":" + std::to_string(m_port); }

    // ---- handshake -------------------------------------------------------------------------------------------------
    uint64_t session = 0; // ours, of this link
    uint64_t theirSession = 0; // 0 until their Hello
    bool acknowledged = false; // they know our session
    bool isOpen() const { return theirSession != 0 && acknowledged; }
    bool readyReceived = false;
    bool readyAcknowledged = false;
    int64_t lastHeard = 0;
    // By what we were led to try it, and when. Anybody can send a beacon in any name.
    bool isByBeacon = false;
    const int64_t since;
    OtherPlaces others;
    // Since when somebody says that it has opened another.
    int64_t renewalSince = 0;

    // How far it came until it was open.
    enum class Progress
    {
        None, // nobody is there, as far as is known
        Connected,
        Met // somebody speaks ZeroMQ there
    };
    Progress progress() const { return theirSession != 0 ? Progress::Met : m_progress; }

    // ---- sending ---------------------------------------------------------------------------------------------------
    // False when the socket takes nothing now: try again when it is writable.
    bool sendHello(int64_t now);
    // The next one follows within so many milliseconds.
    bool sendState(int64_t now, int64_t every);
    bool sendResend();
    bool sendGoodbye();
    // As much of the stream as window and socket take.
    void sendStream();
    bool isBlocked() const { return m_blocked; }
    // To be asked when something comes of the socket: true when it took nothing and does now.
    bool takesAgain();
    bool hasUnsent() const { return m_next < m_sent.size(); }
    int64_t helloDue = 0;
    int64_t stateDue = 0;
    // When there is something to be said, by steadyMilliseconds(); INT64_MAX while nothing can be.
    int64_t due() const;
    bool stateWanted = false; // at the next opportunity

    // ---- the stream to them ----------------------------------------------------------------------------------------
    // What they say of what they have got. False: it cannot be.
    bool noteProgress(uint64_t received, uint64_t consumed);
    bool resendFrom(uint64_t number);

    // ---- the stream from them --------------------------------------------------------------------------------------
    uint64_t received = 0; // number of the last piece that came in order
    uint64_t receivedBytes = 0;
    uint64_t receivedBytesTold = 0;
    bool resendWanted = false;
    std::string partial; // an item that is not whole yet
    bool isGreedy = false; // it asks and asks, and does not take what it gets

    // ---- the connections -------------------------------------------------------------------------------------------
    ConnectionEnd endSeen();
    // It sends where it should only listen.
    bool isMisused(int64_t now) { return m_oneWay.isMisused(m_port, now); }
    // The connection on which they speak to us, as far as known: its descriptor, and the port at their end.
    int inboundFd = -1;
    uint16_t inboundPort = 0;

private:
    bool send(wire::MessageType type, std::string_view payload = {});
    bool sendMessage(zmq::message_t& message);

    struct Piece
    {
        uint64_t number = 0;
        size_t bytes = 0;
        zmq::message_t message;
    };

    Core& m_core;
    const Identity& m_identity;
    PeerPtr m_peer;
    std::string m_address;
    uint16_t m_port;
    zmq::socket_t m_socket;
    ConnectionMonitor m_monitor;
    bool m_blocked = false;
    OneWay m_oneWay;
    int m_refusals = 0;
    Progress m_progress = Progress::None;
    int64_t m_helloAgain = 100;
    // Pieces that were taken from the queue and are not consumed by the other side yet.
    std::deque<Piece> m_sent;
    std::string m_header; // of the piece that is made now
    size_t m_next = 0; // index in m_sent of the first that is to be sent (again)
    uint64_t m_lastNumber = 0;
    uint64_t m_theirReceived = 0;
    size_t m_inFlight = 0;
    Watched m_watchedMonitor;
    Watched m_watchedSocket;
};

} // namespace qny
