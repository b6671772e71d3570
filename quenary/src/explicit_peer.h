// SPDX-License-Identifier: Apache-2.0
// A peer that was named by its address: it is told again and again that we are there. Only with the
// network's turn (network.h).
#pragma once

#include "connection_monitor.h"
#include "one_way.h"
#include "poller.h"
#include "security/certificate.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>
#include <zmq.hpp>

namespace qny {

class Security;

// On a secured network the address does not say whose it is: the known keys are tried one after the other, until one
// opens the connection.
class ExplicitPeer
{
public:
    // Throws zmq::error_t for an address that cannot be one. Security: null when there is none.
    ExplicitPeer(zmq::context_t& context, Poller& poller, std::string endpoint, std::string place, bool ipv6,
        const Security* security);
    ExplicitPeer(const ExplicitPeer&) = delete;
    ExplicitPeer& operator=(const ExplicitPeer&) = delete;

    // "host:port", as it was named.
    const std::string& place() const { return m_place; }
    // To be called when something comes of it, and now and then. What turned out to keep both apart, if anything.
    ConnectionEnd tend(int64_t now);
    // False when there is no connection now.
    bool probe(const std::string& message);

private:
    void connect();
    void disconnect();
    void tryNext(int64_t now);

    zmq::context_t& m_context;
    Poller& m_poller;
    const std::string m_endpoint;
    const std::string m_place;
    const uint16_t m_port;
    const bool m_ipv6;
    const Security* const m_security;
    std::vector<CertificatePtr> m_round; // still to be tried
    CertificatePtr m_certificate; // being tried, or found
    zmq::socket_t m_socket;
    OneWay m_oneWay;
    std::unique_ptr<ConnectionMonitor> m_monitor; // of that socket; null while there is none
    std::optional<Watched> m_watched; // the monitor
    bool m_failed = false;
    int64_t m_nextTry = 0;
};

} // namespace qny
