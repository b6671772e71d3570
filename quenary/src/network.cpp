// SPDX-License-Identifier: Apache-2.0
#include "network.h"

#include "core.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace qny {

namespace {

// A peer of which nothing is heard for so long is gone. Below QNY_PRESENCE_BOUND_MS, which is what users are promised.
constexpr int64_t silenceMilliseconds = 4000;
constexpr int64_t beaconMilliseconds = 1000;
constexpr int64_t probeMilliseconds = 1000;
// This thread itself stood still (a stopped process, a sleeping machine): the others are given time to be heard.
constexpr int64_t standstillMilliseconds = 1500;
constexpr int64_t farewellMilliseconds = 500;
constexpr size_t marksAtOnce = 8192;
constexpr int64_t shrinkMilliseconds = 1000;
constexpr size_t queuesOfTheDead = 4;
constexpr int64_t linkLookMilliseconds = 100;
constexpr int64_t togetherMilliseconds = 10;
constexpr size_t leastQueueBytes = size_t { 16 } * 1024 * 1024;

std::string inBrackets(const std::string& host)
{
    return host.find(':') != std::string::npos && host.front() != '[' ? "[" + host + "]" : host;
}

// Handlers of the program's signals run on its own threads, whose waiting they may interrupt; faults are this thread's.
void leaveSignalsToOthers()
{
    sigset_t others;
    sigfillset(&others);
    for (const int own : { SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS, SIGPROF }) {
        sigdelset(&others, own);
    }
    pthread_sigmask(SIG_BLOCK, &others, nullptr);
}

// That no port is left to listen on.
std::string takenText(const std::pair<uint16_t, uint16_t>& ports, const std::string& address)
{
    const bool isOne = ports.first == ports.second;
    return (isOne ? "Another program holds the TCP port " : "Other programs hold all of the TCP ports ")
        + std::to_string(ports.first) + (isOne ? "" : "-" + std::to_string(ports.second)) + " on " + address
        + "; choose another listen_port, or 0 for any free one.";
}

} // namespace

Network::Network(Core& core)
    : m_core(core)
    // A ROUTER would keep what others name themselves, copy it with every message however long it is, and end the
    // process when somebody has named himself as it names the next who does not (libzmq 4.3.5).
    , m_inbox(m_context, zmq::socket_type::dealer)
{
}

Network::~Network()
{
    unwatch();
    m_security.reset();
    m_explicit.clear();
    m_links.clear();
    m_door.reset();
    m_inbox.close();
    m_context.close();
    m_probeContext.close();
    if (m_wakeFd >= 0) {
        ::close(m_wakeFd);
    }
}

std::string Network::endpoint() const
{
    return "tcp://" + inBrackets(m_device.address) + ":" + std::to_string(m_port);
}

qny_result_t Network::open(const Options& options)
{
    raiseDescriptorLimit();
    m_probeContext.set(zmq::ctxopt::max_sockets, static_cast<int>(8 * maxNamedPeers));
    m_context.set(zmq::ctxopt::max_sockets, static_cast<int>(8 * wire::maxPeers));
    if (const qny_result_t result = findDevice(options.device, m_device); result != QNY_SUCCESS) {
        return result;
    }
    m_wakeFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (m_wakeFd < 0) {
        return fail(
            QNY_ERROR_SYSTEM, std::string("The network thread cannot be set up: ") + std::strerror(errno) + ".");
    }
    if (!options.privateCertificate.empty() || !options.publicCertificates.empty()) {
        qny_result_t result = Security::open(options.privateCertificate, options.publicCertificates, m_security);
        if (result == QNY_SUCCESS) {
            result = m_security->guard(m_context, m_inbox);
        }
        if (result != QNY_SUCCESS) {
            return result;
        }
    }
    m_door = std::make_unique<Doorkeeper>(m_context, m_inbox);
    if (m_security) {
        m_door->setSecured();
    }
    if (const qny_result_t result = bindInbox(options); result != QNY_SUCCESS) {
        return result;
    }
    if (options.multicast && m_device.ipv6 && m_device.loopback) {
        // Systems have no way for multicast there.
        logInfo("the device " + m_device.name
            + " was named by an IPv6 address: peers are not discovered, only those named in `peers` are tried");
    } else if (options.multicast) {
        if (const qny_result_t result = m_discovery.open(m_device, options.port); result != QNY_SUCCESS) {
            return result;
        }
    }
    for (const auto& [host, port] : options.peers) {
        const bool ipv6 = host.find(':') != std::string::npos;
        const std::string source = sourceFor(ipv6).empty() ? "" : inBrackets(sourceFor(ipv6)) + ":0;";
        const std::string destination = "tcp://" + source + inBrackets(host) + ":" + std::to_string(port);
        try {
            m_explicit.push_back(std::make_unique<ExplicitPeer>(m_probeContext, m_poller, destination,
                inBrackets(host) + ":" + std::to_string(port), ipv6, m_security.get()));
        } catch (const zmq::error_t& error) {
            return fail(QNY_ERROR_ARGUMENT,
                "The peer " + host + ":" + std::to_string(port) + " cannot be tried: " + error.what() + ".");
        }
    }
    watch();
    return QNY_SUCCESS;
}

void Network::watch()
{
    m_watchedWake.emplace(m_poller, m_wakeFd, Source::Wake);
    m_watchedInbox.emplace(m_poller, m_inbox, Source::Inbox);
    m_watchedDoor.emplace(m_poller, m_door->socket(), Source::Door);
    if (m_security) {
        m_watchedOffice.emplace(m_poller, m_security->office(), Source::Office);
    }
    if (m_discovery.isOpen()) {
        m_watchedBeacons.emplace(m_poller, m_discovery.fd(), Source::Beacons);
    }
}

void Network::unwatch()
{
    m_isInboxLent = false;
    for (std::optional<Watched>* each :
        { &m_watchedWake, &m_watchedInbox, &m_watchedBeacons, &m_watchedDoor, &m_watchedOffice }) {
        each->reset();
    }
}

qny_result_t Network::bindInbox(const Options& options)
{
    m_inbox.set(zmq::sockopt::linger, 0);
    // Never at a mark: whoever floods us would hold up those whose turn it is. How much waits here is bounded by our
    // own windows and by the doorkeeper, who sees whose it is.
    m_inbox.set(zmq::sockopt::rcvhwm, 0);
    m_inbox.set(zmq::sockopt::maxmsgsize, static_cast<int64_t>(wire::maxMessageBytes));
    m_inbox.set(zmq::sockopt::backlog, 1024);
    m_inbox.set(zmq::sockopt::handshake_ivl, QNY_PRESENCE_BOUND_MS);
    watchConnections(m_inbox);
    if (!m_security) {
        // Of what comes by ZeroMQ's older protocols nobody knows by which connection it came, nor from where. Who has a
        // domain takes none of them; that nobody asks for it lets all others in.
        m_inbox.set(zmq::sockopt::zap_domain, std::string("quenary"));
    }
    m_inbox.set(zmq::sockopt::ipv6, m_device.ipv6);
    for (uint16_t port = options.listenPorts.first;; ++port) {
        const std::string wanted
            = "tcp://" + inBrackets(m_device.address) + ":" + (port == 0 ? "*" : std::to_string(port));
        try {
            m_inbox.bind(wanted);
            break;
        } catch (const zmq::error_t& error) {
            if (error.num() != EADDRINUSE) {
                return fail(QNY_ERROR_SYSTEM, "This peer cannot listen on " + wanted + ": " + error.what() + ".");
            }
            if (port == options.listenPorts.second) {
                return fail(QNY_ERROR_PORT_IN_USE, takenText(options.listenPorts, m_device.address));
            }
        }
    }
    const std::string bound = m_inbox.get(zmq::sockopt::last_endpoint);
    m_port = static_cast<uint16_t>(std::strtoul(bound.c_str() + bound.rfind(':') + 1, nullptr, 10));
    m_door->setPort(m_port);
    const bool wants6 = std::ranges::any_of(
        options.peers, [](const auto& each) { return each.first.find(':') != std::string::npos; });
    return wants6 && !m_device.ipv6 ? bindInbox6() : QNY_SUCCESS;
}

// The same port on the device's IPv6 address, for the peers of IPv6 that were named.
qny_result_t Network::bindInbox6()
{
    const std::vector<Device> devices = listDevices();
    const auto it
        = std::ranges::find_if(devices, [this](const Device& each) { return each.ipv6 && each.name == m_device.name; });
    if (it == devices.end()) {
        return fail(QNY_ERROR_DEVICE,
            "`peers` names an IPv6 address, and the device " + m_device.name + " has none to reach it from.");
    }
    m_device6 = *it;
    m_inbox.set(zmq::sockopt::ipv6, true);
    try {
        m_inbox.bind("tcp://" + inBrackets(m_device6.address) + ":" + std::to_string(m_port));
    } catch (const zmq::error_t& error) {
        return fail(error.num() == EADDRINUSE ? QNY_ERROR_PORT_IN_USE : QNY_ERROR_SYSTEM,
            "This peer cannot listen on [" + m_device6.address + "]:" + std::to_string(m_port) + ": " + error.what()
                + ".");
    }
    return QNY_SUCCESS;
}

const std::string& Network::sourceFor(bool ipv6) const
{
    return ipv6 == m_device.ipv6 ? m_device.address : m_device6.address;
}

void Network::run()
{
    {
        const std::lock_guard lock(m_core.mutex);
        m_identity.uuid = m_core.self->uuid;
        m_identity.port = m_port;
        m_identity.hello = helloPayload(*m_core.self);
    }
    m_beacon = { m_port, m_identity.uuid };
    if (m_security) {
        m_beacon.mark = m_security->mark(*m_security->own(), m_beacon, m_device.address);
        m_security->watch([this] { wake(); });
    }
    m_thread = std::thread([this] { loop(); });
}

void Network::stop()
{
    m_stopping = true;
    wake();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void Network::wake()
{
    m_wanted = true;
    // While it is awake it looks by itself before it sleeps.
    if (!m_asleep.exchange(false)) {
        return;
    }
    const uint64_t one = 1;
    if (write(m_wakeFd, &one, sizeof one) < 0) {
        logDebug("the network thread could not be woken");
    }
}

void Network::sendWaiting(std::unique_lock<std::mutex>& lock)
{
    if (!m_core.started || m_core.waiting.empty()) {
        return;
    }
    const std::unique_lock turn(m_turn, std::try_to_lock);
    if (!turn) {
        wake();
        return;
    }
    const std::vector<PeerPtr> waiting = m_core.takeWaiting();
    lock.unlock();
    try {
        serveAll(waiting, steadyMilliseconds());
    } catch (const zmq::error_t& error) {
        logError(std::string("a call: ") + error.what());
        wake();
    }
}

std::optional<Network::Lent> Network::lendInbox()
{
    const std::unique_lock turn(m_turn, std::try_to_lock);
    if (!turn || !m_core.started || m_isInboxLeft || m_isInboxLent || !m_watchedInbox || !m_watchedDoor) {
        return std::nullopt;
    }
    m_watchedInbox->enable(false);
    m_isInboxLent = true;
    return Lent { m_watchedInbox->fd(), m_watchedDoor->fd() };
}

void Network::takeInboxBack(std::unique_lock<std::mutex>& lock, Come come)
{
    const std::unique_lock turn(m_turn, std::try_to_lock);
    if (!turn) {
        wake();
        return;
    }
    if (!m_isInboxLent) {
        return;
    }
    if (come.inbox) {
        lock.unlock();
        try {
            // Who speaks there is known before he is heard. Of strangers who want to be let in the network thread is
            // told.
            if (come.door || m_isDoorLeft) {
                attendDoor();
            }
            readInbox();
            tick(steadyMilliseconds());
        } catch (const zmq::error_t& error) {
            // What was not read for a signal the network thread reads.
            if (error.num() != EINTR) {
                logError(std::string("the callback thread at the inbox: ") + error.what());
            }
        }
        lock.lock();
    }
    // Not before: the network thread would wake for what was read here.
    m_isInboxLent = false;
    m_watchedInbox->enable(true);
    if (m_isInboxLeft || m_isDoorLeft || m_poller.hasFresh() || m_nextLook < m_sleepsUntil) {
        wake();
    }
}

void Network::serveAll(const std::vector<PeerPtr>& peers, int64_t now)
{
    for (const PeerPtr& peer : peers) {
        if (const auto it = m_links.find(peer->uuid); it != m_links.end() && it->second->peer() == peer) {
            serve(*it->second, now);
        }
    }
}

void Network::loop()
{
    pthread_setname_np(pthread_self(), "quenary-net");
    leaveSignalsToOthers();
    const std::lock_guard turn(m_turn);
    m_lastTick = steadyMilliseconds();
    while (!m_stopping) {
        try {
            tick(steadyMilliseconds());
            int64_t next = m_nextLook;
            {
                const std::lock_guard lock(m_core.mutex);
                if (m_core.tellAt != 0) {
                    next = std::min(next, m_core.tellAt);
                }
            }
            wait(m_stopping ? 0 : std::max<int64_t>(next - steadyMilliseconds(), 0));
        } catch (const zmq::error_t& error) {
            // Nothing that comes from outside may end the thread.
            logError(std::string("the network thread: ") + error.what());
        }
    }
    try {
        leave();
    } catch (const zmq::error_t& error) {
        logError(std::string("leaving the network: ") + error.what());
    }
}

void Network::wait(int64_t timeout)
{
    if (m_watchedBeacons) {
        const int64_t now = steadyMilliseconds();
        const bool listens = m_sieve.budget(now) > 0;
        m_watchedBeacons->enable(listens);
        timeout = listens ? timeout : std::min(timeout, m_sieve.nextBudget() - now);
    }
    bool knocks = m_isDoorLeft;
    bool beaconsCome = false;
    m_asleep = true;
    m_sleepsUntil = steadyMilliseconds() + timeout;
    const std::vector<Watched*>& readable = m_poller.wait(m_isInboxLeft || knocks || m_wanted ? 0 : timeout, m_turn);
    m_asleep = false;
    // Looked at now and then from here, too: who sends what has no end wakes nobody who waits for messages.
    if (std::exchange(m_isInboxLent, false)) {
        m_watchedInbox->enable(true);
    }
    // Nothing here ends a link, and with it what is watched of it.
    for (const Watched* each : readable) {
        switch (each->source()) {
        case Source::Wake:
            takeWake();
            break;
        case Source::Inbox:
            break; // read in any case
        case Source::Beacons:
            beaconsCome = true;
            break;
        case Source::Door:
        case Source::Office:
            knocks = true;
            break;
        case Source::ExplicitPeers:
            m_nextTend = 0;
            break;
        case Source::LinkSocket:
            if (each->link()->takesAgain()) {
                serve(*each->link(), steadyMilliseconds());
            }
            break;
        case Source::LinkMonitor:
            noteEnd(*each->link());
            break;
        }
    }
    if (knocks) {
        attendDoor();
    }
    // What the dead sent last is read before they are declared so.
    readInbox();
    for (const auto& [uuid, end] : std::exchange(m_ended, {})) {
        if (const auto it = m_links.find(uuid); it != m_links.end()) {
            tellOfEnd(it->second->place(), end);
        }
        drop(uuid, end == ConnectionEnd::Gone ? "its process has ended" : "it accepts no connection of this process",
            true);
    }
    if (beaconsCome) {
        receiveBeacons();
    }
}

void Network::readInbox()
{
    m_isInboxLeft = true;
    m_isInboxLeft = !receive();
}

void Network::takeWake()
{
    uint64_t count = 0;
    if (read(m_wakeFd, &count, sizeof count) < 0 && errno != EAGAIN) {
        logDebug("the network thread's wake-up cannot be read");
    }
}

void Network::noteEnd(Link& link)
{
    if (const ConnectionEnd end = link.endSeen(); end != ConnectionEnd::None) {
        m_ended.emplace_back(link.peer()->uuid, end);
    }
}

void Network::tick(int64_t now)
{
    std::vector<PeerPtr> waiting;
    m_wanted = false;
    {
        const std::lock_guard lock(m_core.mutex);
        if (m_core.tellAt != 0 && m_core.tellAt <= now && m_core.started) {
            m_core.tellChanges();
        }
        waiting = m_core.takeWaiting();
    }
    m_lateness.note(now, now - m_lastTick);
    if (now - m_lastTick > standstillMilliseconds) {
        m_core.stoodStillUntil = now;
        for (const auto& [uuid, link] : m_links) {
            link->lastHeard = now;
            link->renewalSince = 0;
        }
    }
    m_lastTick = now;
    refreshCertificates();
    if (now >= m_marksRefill) {
        m_marksRefill = now + 100;
        m_marksLeft = marksAtOnce;
    }
    serveAll(waiting, now);
    if (now >= m_nextLook) {
        lookAtLinks(now);
    }
    sendBeacon(now);
    probeExplicitPeers(now);
    if (now >= m_nextShrink) {
        m_nextShrink = now + shrinkMilliseconds;
        m_core.buffers.shrink();
    }
}

void Network::lookAtLinks(int64_t now)
{
    m_nextLook = now + linkLookMilliseconds;
    m_stateEvery = std::clamp(
        static_cast<int64_t>(m_links.size()) * stateMillisecondsOfALink, stateMilliseconds, longestStateMilliseconds);
    std::vector<Uuid> silent;
    std::vector<std::pair<Uuid, const char*>> hostile;
    const int64_t silence = silenceMilliseconds + m_lateness.allowance();
    for (const auto& [uuid, link] : m_links) {
        if (now - link->lastHeard > silence) {
            silent.push_back(uuid);
        } else if (takesNothing(*link)) {
            hostile.emplace_back(uuid, "too much waits that it does not take");
        } else if (link->isMisused(now)) {
            hostile.emplace_back(uuid, "it sends where it should only listen");
        } else {
            serve(*link, now);
            // Of many, those that are due soon after one another are looked at together.
            m_nextLook = std::min(m_nextLook, std::max(link->due(), now + togetherMilliseconds));
        }
    }
    for (const auto& [uuid, why] : hostile) {
        drop(uuid, why, true);
    }
    for (const Uuid& uuid : silent) {
        drop(uuid, "nothing was heard of it for " + std::to_string(silenceMilliseconds) + " ms", true);
    }
}

// Answers are never dropped while a peer lives; one that asks and asks and takes none of them counts as dead.
bool Network::takesNothing(const Link& link) const
{
    const std::lock_guard lock(m_core.mutex);
    return link.peer()->queuedBytes > std::max(m_core.options.maxPeerQueueBytes, leastQueueBytes) * queuesOfTheDead;
}

void Network::serve(Link& link, int64_t now)
{
    if (link.isBlocked()) {
        return;
    }
    if (!link.acknowledged && link.helloDue <= now && !link.sendHello(now)) {
        return;
    }
    if (link.theirSession != 0) {
        bool consumedWanted = false;
        {
            const std::lock_guard lock(m_core.mutex);
            consumedWanted = link.peer()->consumedBytes - link.peer()->consumedBytesTold >= windowBytes / 8;
        }
        const bool receivedWanted = link.receivedBytes - link.receivedBytesTold >= windowBytes / 8;
        if ((link.stateWanted || link.stateDue <= now || consumedWanted || receivedWanted)
            && !link.sendState(now, m_stateEvery)) {
            return;
        }
        if (link.resendWanted && !link.sendResend()) {
            return;
        }
    }
    if (link.isOpen()) {
        link.sendStream();
    }
}

void Network::sendBeacon(int64_t now)
{
    if (!m_discovery.isOpen() || now < m_nextBeacon) {
        return;
    }
    m_discovery.send(m_beacon);
    // The first few come quickly one after the other: a datagram may be lost.
    m_nextBeacon = now + (m_beaconsSent++ < 4 ? 100 : beaconMilliseconds);
}

void Network::probeExplicitPeers(int64_t now)
{
    if (now >= m_nextTend) {
        m_nextTend = now + linkLookMilliseconds;
        for (const auto& each : m_explicit) {
            tellOfEnd(each->place(), each->tend(now));
        }
    }
    if (m_explicit.empty() || now < m_nextProbe) {
        return;
    }
    m_nextProbe = now + probeMilliseconds;
    std::string text;
    wire::write(text, { .type = wire::MessageType::Probe, .port = m_port, .sender = m_identity.uuid });
    for (const auto& each : m_explicit) {
        if (!each->probe(text)) {
            m_nextProbe = std::min(m_nextProbe, now + 100);
        }
    }
}

void Network::drop(const Uuid& uuid, const std::string& why, bool fellSilent)
{
    const auto it = m_links.find(uuid);
    if (it == m_links.end()) {
        return;
    }
    const Link& link = *it->second;
    if (link.peer()->open) {
        logInfo("peer " + link.peer()->uuidText + " (" + printable(link.peer()->hostName) + ", process "
            + std::to_string(link.peer()->processId) + ") is gone: " + why);
        const std::lock_guard lock(m_core.mutex);
        m_core.peerDown(link.peer(), fellSilent);
    } else {
        logDebug("peer " + link.peer()->uuidText + " is not tried any more: " + why);
    }
    m_links.erase(it);
}

void Network::leave()
{
    m_explicit.clear(); // nobody tends to them any more
    // What was said before is sent first, as far as the others take it in time.
    const int64_t until = steadyMilliseconds() + farewellMilliseconds;
    const auto unsent = [this] {
        const std::lock_guard lock(m_core.mutex);
        return std::ranges::any_of(m_links, [](const auto& each) {
            return each.second->isOpen() && (!each.second->peer()->pieces.empty() || each.second->hasUnsent());
        });
    };
    while (unsent() && steadyMilliseconds() < until) {
        m_wanted = false;
        const int64_t now = steadyMilliseconds();
        for (const auto& [uuid, link] : m_links) {
            serve(*link, now);
        }
        if (unsent()) {
            wait(5);
        }
    }
    for (const auto& [uuid, link] : m_links) {
        link->socket().set(zmq::sockopt::linger, static_cast<int>(farewellMilliseconds));
        link->sendGoodbye();
    }
    unwatch();
    m_links.clear();
    m_door.reset();
    m_inbox.close();
    m_discovery.close();
}

} // namespace qny
