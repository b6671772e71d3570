// SPDX-License-Identifier: Apache-2.0
// The sockets and whoever works with them: finds peers, keeps the links to them, moves their streams. That is a thread
// of its own; while it sleeps, others may take its turn.
#pragma once

#include "beacon_sieve.h"
#include "devices.h"
#include "discovery.h"
#include "doorkeeper.h"
#include "explicit_peer.h"
#include "lateness.h"
#include "link.h"
#include "model.h"
#include "poller.h"
#include "security/security.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>
#include <zmq.hpp>

namespace qny {

class Core;
struct Options;

class Network
{
public:
    // How much of a stream may be on its way or undelivered at the other side. What is beyond waits at the sender,
    // where it is bounded by max_peer_queue_bytes.
    static constexpr size_t windowBytes = 8 * 1024 * 1024;

    explicit Network(Core& core);
    ~Network();
    Network(const Network&) = delete;
    Network& operator=(const Network&) = delete;

    // On the thread of qny_start(): takes device and ports, so that what is wrong can be told to the caller.
    qny_result_t open(const Options& options);
    std::string endpoint() const;
    const std::string& address() const { return m_device.address; }
    // Null without security.
    CertificatePtr ownCertificate() const { return m_security ? m_security->own() : nullptr; }
    // From any thread.
    bool isLetIn(std::string_view publicKey) const { return !m_security || m_security->isLetIn(publicKey); }
    void run();
    // Sends what waits, takes leave of everybody and ends the thread. Not with the core's mutex held.
    void stop();
    // Something waits for the network thread. With or without the core's mutex.
    void wake();
    // While the network thread sleeps, others do its work where waking it would take longer than the work. All three
    // with the core's mutex held. The inbox, for the callback thread to wait at it, and where it is told who comes and
    // goes there: their descriptors, or nothing when they are not to be had now.
    struct Lent
    {
        int inbox = -1;
        int door = -1;
    };
    std::optional<Lent> lendInbox();
    // Back from there. What has come is read by this thread, with the lock given up meanwhile.
    struct Come
    {
        bool inbox = false;
        bool door = false;
    };
    void takeInboxBack(std::unique_lock<std::mutex>& lock, Come come);
    // What waits is sent by this thread, and the lock given up for that.
    void sendWaiting(std::unique_lock<std::mutex>& lock);

private:
    qny_result_t bindInbox(const Options& options);
    qny_result_t bindInbox6();
    void watch();
    void unwatch();
    // The address from which we connect, so that the other side finds the way back by it.
    const std::string& sourceFor(bool ipv6) const;
    void loop();
    void wait(int64_t timeout);
    void takeWake();
    // False when there is more than is read at once.
    bool receive();
    void readInbox();
    // That came by this descriptor.
    void receiveMessage(const std::shared_ptr<zmq::message_t>& message, int fd);
    void receiveBeacons();
    void receiveBeacon(const wire::Beacon& beacon, const std::string& from);
    void sendBeacon(int64_t now);
    void probeExplicitPeers(int64_t now);
    void tick(int64_t now);
    // At every link, and when to do so again.
    void lookAtLinks(int64_t now);
    bool takesNothing(const Link& link) const;
    void serve(Link& link, int64_t now);
    void serveAll(const std::vector<PeerPtr>& peers, int64_t now);
    void drop(const Uuid& uuid, const std::string& why, bool fellSilent);
    void leave();

    enum class Hint
    {
        Beacon, // anybody can send one in any name, from many an address
        Connection // a connection of its own leads back to it
    };
    // The link to the peer, which is tried if there is none. Null when no more can be tried.
    Link* hint(const Destination& said, Hint by);
    bool makeRoom(const Destination& peer, Hint by);
    bool isFlooded() const;
    void receiveHello(const wire::Header& header, std::string_view payload, const Destination& from);
    // False when the stream is broken beyond repair.
    bool receiveData(Link& link, std::string_view payload, const std::shared_ptr<zmq::message_t>& message);
    static bool isControl(std::string_view item);
    // Items that change what is known; with the core's mutex held. False for one that the callback thread is to have.
    bool receiveControl(Link& link, std::string_view item);
    // ---- security (network_security.cpp) ---------------------------------------------------------------------------
    // False when the message is not from whom it says that it is. Fills in whose certificate it came by.
    bool isGenuine(const wire::Header& header, const zmq::message_t& message, int fd, CertificatePtr& certificate);
    // Whose certificate was taken away is cut off.
    void refreshCertificates();
    void attendDoor();
    void noteEnd(Link& link);
    void endStrangers(size_t most);
    void endEndless();
    bool isPeers(int fd, uint16_t port) const;
    // One that carries messages of the peer's own, which nobody else can make up.
    static void noteConnection(Link& link, int fd);
    void tellOfOtherMechanism(const std::string& whom);
    void tellOfEnd(const std::string& place, ConnectionEnd end);

    // They have heard our Hello: our stream to them begins.
    void acknowledge(Link& link);

    Core& m_core;
    // Of whoever works with the links and sockets: the network thread's, but while it sleeps. Taken before the core's
    // mutex, with which it may only be tried.
    std::mutex m_turn;
    Poller m_poller; // outlives all that is watched
    zmq::context_t m_context;
    // The sockets that try explicit peers: their host names may take long to resolve, which must delay nobody else.
    zmq::context_t m_probeContext;
    Device m_device;
    Device m_device6; // beside an IPv4 device: where explicit peers of IPv6 find us
    uint16_t m_port = 0;
    Identity m_identity;
    Discovery m_discovery;
    BeaconSieve m_sieve;
    std::unique_ptr<Security> m_security; // null: an open network
    zmq::socket_t m_inbox;
    std::unique_ptr<Doorkeeper> m_door;
    std::vector<std::unique_ptr<ExplicitPeer>> m_explicit;
    std::unordered_map<Uuid, std::unique_ptr<Link>, UuidHash> m_links;
    int m_wakeFd = -1;
    std::optional<Watched> m_watchedWake;
    std::optional<Watched> m_watchedInbox;
    std::optional<Watched> m_watchedBeacons;
    std::optional<Watched> m_watchedDoor;
    std::optional<Watched> m_watchedOffice;
    // There is more than was read at once: no descriptor says so.
    bool m_isInboxLeft = true; // until the network thread has looked for the first time
    bool m_isInboxLent = false;
    std::shared_ptr<zmq::message_t> m_empty; // the next message is read into it
    bool m_isDoorLeft = false;
    std::vector<std::pair<Uuid, ConnectionEnd>> m_ended; // connections that ended since the last look
    // For wake(): something waits since the last look; nobody looks before something comes.
    std::atomic<bool> m_wanted { false };
    std::atomic<bool> m_asleep { false };
    std::atomic<bool> m_stopping { false };
    std::thread m_thread;
    wire::Beacon m_beacon;
    int64_t m_nextBeacon = 0;
    int m_beaconsSent = 0;
    int64_t m_nextProbe = 0;
    int64_t m_lastTick = 0;
    Lateness m_lateness;
    int64_t m_nextLook = 0; // at every link
    int64_t m_sleepsUntil = 0;
    int64_t m_stateEvery = stateMilliseconds;
    int64_t m_nextTend = 0; // to the explicit peers
    int64_t m_nextShrink = 0; // of the buffers
    // How many more marks of beacons may be looked at before the next refill: a flood of them must not cost more.
    size_t m_marksLeft = 0;
    int64_t m_marksRefill = 0;
    int m_fullRounds = 0; // since the inbox was empty
    size_t m_talk = 0; // messages since then that were no peer's
    bool m_otherMechanismTold = false;
    std::set<std::string> m_told; // endpoints of which the log has said that nothing comes of them
};

} // namespace qny
