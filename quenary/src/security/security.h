// SPDX-License-Identifier: Apache-2.0
// Whose key this process has, whom it lets in, and what that means for its sockets. Only with the network's turn,
// unless it says otherwise.
#pragma once

#include "quenary.h"

#include "security/certificate_directory.h"
#include "wire.h"

#include <memory>
#include <set>
#include <string>
#include <zmq.hpp>

namespace qny {

class Security
{
public:
    // Reads both paths. On the thread of qny_start(), so that what is wrong can be told to the caller.
    static qny_result_t open(
        const std::string& privateCertificate, const std::string& publicCertificates, std::unique_ptr<Security>& into);

    // Takes the place that ZeroMQ asks who may come in, and secures the socket to which peers come. Before the first
    // bind in that context: a socket that is bound earlier would let everybody in.
    qny_result_t guard(zmq::context_t& context, zmq::socket_t& inbox);
    zmq::socket_t& office() { return m_office; }
    struct Answered
    {
        size_t turnedAway = 0;
        bool isMoreLeft = false;
    };
    // Answers those who wait at the door.
    Answered answer();

    // Before the socket is connected.
    void secureClient(zmq::socket_t& socket, const Certificate& server) const;

    const CertificatePtr& own() const { return m_own; }
    CertificatePtr find(std::string_view publicKey) const { return m_known->find(publicKey); }
    // As the directory says at this moment, or our own. From any thread.
    bool isLetIn(std::string_view publicKey) const
    {
        return publicKey == m_own->publicKey || m_directory.certificates()->find(publicKey);
    }
    const CertificateSet& known() const { return *m_known; }
    const std::string& directory() const { return m_directory.path(); }

    // The function is called on another thread after each change of the directory.
    void watch(std::function<void()> changed) { m_directory.watch(std::move(changed)); }
    enum class Change
    {
        None,
        Added, // or told anew
        Removed // at least one is not let in any more
    };
    // Takes over what the directory holds now.
    Change refresh();

    // The uuid of a process with that certificate: its second half is made of the first and of the key, so that nobody
    // takes the uuid of a process with another one, not even where that has not been seen yet.
    static Uuid peerUuid(const Certificate& certificate) { return bound(newUuid(), certificate); }
    static bool fits(const Uuid& uuid, const Certificate& certificate) { return bound(uuid, certificate) == uuid; }

    // What a beacon carries beside the address: by it those who have the certificate know whose it is, and nobody else.
    static wire::Mark mark(const Certificate& certificate, wire::Beacon beacon, const std::string& address);
    // Of the known certificates the one by which the beacon was marked, or null.
    CertificatePtr sender(const wire::Beacon& beacon, const std::string& address) const;

private:
    static Uuid bound(Uuid uuid, const Certificate& certificate);
    void takeOffice(zmq::context_t& context);
    void secureServer(zmq::socket_t& socket) const;
    Security(CertificatePtr own, std::string directory);

    const CertificatePtr m_own;
    CertificateDirectory m_directory;
    CertificateSetPtr m_known;
    zmq::socket_t m_office;
    std::set<std::string> m_turnedAway; // keys that the log has named
};

} // namespace qny
