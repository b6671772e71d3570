// SPDX-License-Identifier: Apache-2.0
// What the network thread waits for. However many descriptors there are, only those are looked at of which something
// comes. Whoever has the network's turn may add to it and take from it, also while the network thread waits.
#pragma once

#include <cstdint>
#include <mutex>
#include <unordered_map>
#include <vector>
#include <zmq.hpp>

namespace qny {

class Link;
class Poller;

// What one descriptor belongs to.
enum class Source
{
    Wake,
    Inbox,
    Beacons,
    Door,
    Office,
    ExplicitPeers,
    LinkSocket,
    LinkMonitor,
};

// A descriptor is waited for as long as this lives. It is to be gone before the descriptor is closed.
class Watched
{
public:
    // Throws zmq::error_t when the system has no room for more. It counts as readable once, before anything comes: what
    // had come before is looked for.
    Watched(Poller& poller, int fd, Source source, Link* link = nullptr);
    // Of a socket it says only that there is something to look for: afterwards the socket is to be read until it has
    // no more, or asked for its events.
    Watched(Poller& poller, zmq::socket_t& socket, Source source, Link* link = nullptr);
    ~Watched();
    Watched(const Watched&) = delete;
    Watched& operator=(const Watched&) = delete;

    Source source() const { return m_source; }
    int fd() const { return m_fd; }
    Link* link() const { return m_link; }
    // Whether it is waited for.
    void enable(bool enabled);

private:
    Poller& m_poller;
    const uint64_t m_number; // of all that were ever watched: never another's
    int m_fd;
    Source m_source;
    Link* m_link;
    bool m_enabled = true;
};

class Poller
{
public:
    // Throws zmq::error_t.
    Poller();
    ~Poller();
    Poller(const Poller&) = delete;
    Poller& operator=(const Poller&) = delete;

    // Those that are readable, after at most so many milliseconds, for which the turn is given up. What is ended is not
    // among them.
    const std::vector<Watched*>& wait(int64_t milliseconds, std::mutex& turn);
    // Something was added that counts as readable.
    bool hasFresh() const { return !m_fresh.empty(); }

private:
    friend class Watched;

    int m_fd;
    uint64_t m_count = 0;
    std::unordered_map<uint64_t, Watched*> m_watched;
    std::vector<Watched*> m_fresh;
    std::vector<Watched*> m_ready;
};

} // namespace qny
