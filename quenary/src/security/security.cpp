// SPDX-License-Identifier: Apache-2.0
#include "security/security.h"

#include "report.h"

#include <algorithm>
#include <sodium.h>
#include <utility>

namespace qny {

namespace {

constexpr char officeEndpoint[] = "inproc://zeromq.zap.01";
constexpr char domain[] = "quenary";
constexpr char mechanism[] = "CURVE";
constexpr char version[] = "1.0";
// Every build of ZeroMQ has it; not all of its headers name it.
constexpr int zapEnforceDomain = 93;
// At a time, so that strangers at the door hold up nobody who is in.
constexpr size_t answersAtOnce = 64;
constexpr size_t mostNamed = 256;

enum Frame
{
    Version,
    Request,
    Domain,
    Address,
    RoutingId,
    Mechanism,
    Credentials,
    FrameCount
};

std::string keyText(const std::string& bytes)
{
    std::array<char, keyCharacters + 1> text {};
    zmq_z85_encode(text.data(), reinterpret_cast<const uint8_t*>(bytes.data()), keyBytes);
    return text.data();
}

void setKey(zmq::socket_t& socket, int option, const std::array<uint8_t, keyBytes>& key)
{
    if (zmq_setsockopt(socket.handle(), option, key.data(), key.size()) != 0) {
        throw zmq::error_t();
    }
}

qny_result_t refuse(const std::string& why)
{
    return fail(QNY_ERROR_SECURITY, "The network cannot be secured, and nothing was started. " + why + ".");
}

} // namespace

Security::Security(CertificatePtr own, std::string directory)
    : m_own(std::move(own))
    , m_directory(std::move(directory))
{
}

qny_result_t Security::open(
    const std::string& privateCertificate, const std::string& publicCertificates, std::unique_ptr<Security>& into)
{
    if (privateCertificate.empty() || publicCertificates.empty()) {
        return refuse(privateCertificate.empty()
                ? "The directory of public certificates is given, and the private certificate is not"
                : "The private certificate is given, and the directory of public certificates is not");
    }
    if (zmq_has("curve") != 1 || sodium_init() < 0) {
        return refuse("This build of ZeroMQ has no CURVE");
    }
    auto own = std::make_shared<Certificate>();
    if (const std::string problem = readCertificate(privateCertificate, CertificateKind::Private, *own);
        !problem.empty()) {
        return refuse(problem);
    }
    std::unique_ptr<Security> made(new Security(std::move(own), publicCertificates));
    if (const std::string problem = made->m_directory.open(); !problem.empty()) {
        return refuse(problem);
    }
    made->m_known = made->m_directory.certificates();
    if (!made->find(made->m_own->publicKey)) {
        logInfo("security: the certificate " + made->m_own->name + " of this process is not among those in "
            + publicCertificates + ": other processes that use it will not meet this one");
    }
    into = std::move(made);
    return QNY_SUCCESS;
}

Security::Change Security::refresh()
{
    const CertificateSetPtr before = std::exchange(m_known, m_directory.certificates());
    if (before == m_known) {
        return Change::None;
    }
    return std::ranges::all_of(before->byKey, [this](const auto& each) { return find(each.first) != nullptr; })
        ? Change::Added
        : Change::Removed;
}

qny_result_t Security::guard(zmq::context_t& context, zmq::socket_t& inbox)
{
    try {
        takeOffice(context);
        secureServer(inbox);
    } catch (const zmq::error_t& error) {
        return refuse(std::string("A socket of ZeroMQ cannot be secured: ") + error.what());
    }
    return QNY_SUCCESS;
}

void Security::takeOffice(zmq::context_t& context)
{
    m_office = zmq::socket_t(context, zmq::socket_type::rep);
    m_office.set(zmq::sockopt::linger, 0);
    m_office.bind(officeEndpoint);
}

void Security::secureServer(zmq::socket_t& socket) const
{
    socket.set(zmq::sockopt::curve_server, true);
    setKey(socket, ZMQ_CURVE_PUBLICKEY, m_own->publicBytes);
    setKey(socket, ZMQ_CURVE_SECRETKEY, m_own->secret.bytes);
    socket.set(zmq::sockopt::zap_domain, std::string(domain));
    // Without it a socket whose office is closed would let everybody in. Where it cannot be had, nothing starts.
    const int enforce = 1;
    if (zmq_setsockopt(socket.handle(), zapEnforceDomain, &enforce, sizeof enforce) != 0) {
        throw zmq::error_t();
    }
}

void Security::secureClient(zmq::socket_t& socket, const Certificate& server) const
{
    setKey(socket, ZMQ_CURVE_PUBLICKEY, m_own->publicBytes);
    setKey(socket, ZMQ_CURVE_SECRETKEY, m_own->secret.bytes);
    setKey(socket, ZMQ_CURVE_SERVERKEY, server.publicBytes);
}

Security::Answered Security::answer()
{
    size_t turnedAway = 0;
    for (size_t i = 0; i < answersAtOnce; ++i) {
        std::vector<std::string> frames;
        zmq::message_t part;
        do {
            if (!m_office.recv(part, zmq::recv_flags::dontwait)) {
                return { turnedAway, false };
            }
            frames.push_back(part.to_string());
        } while (part.more());
        frames.resize(std::max<size_t>(frames.size(), FrameCount));

        const bool isSound = frames.size() == FrameCount && frames[Version] == version && frames[Domain] == domain
            && frames[Mechanism] == mechanism && frames[Credentials].size() == keyBytes;
        const std::string key = isSound ? keyText(frames[Credentials]) : std::string();
        const bool isKnown = isSound && find(key);
        if (!isKnown) {
            ++turnedAway;
            // Each of them once: who is turned away tries again and again.
            if (m_turnedAway.size() < mostNamed && m_turnedAway.insert(key).second) {
                logWarning("security: " + printable(frames[Address]) + " is not let in: its key " + printable(key)
                    + " is none of those in " + directory());
            }
        } else {
            m_turnedAway.erase(key);
        }
        const std::string reply[] { version, frames[Request], isKnown ? "200" : "400",
            isKnown ? "OK" : "no certificate", isKnown ? key : "", "" };
        for (const std::string& each : reply) {
            m_office.send(
                zmq::buffer(each), &each == std::end(reply) - 1 ? zmq::send_flags::none : zmq::send_flags::sndmore);
        }
    }
    return { turnedAway, true };
}

Uuid Security::bound(Uuid uuid, const Certificate& certificate)
{
    constexpr size_t half = 8;
    std::string text = "peer";
    text.append(reinterpret_cast<const char*>(uuid.data()), half);
    wire::Mark made {};
    crypto_generichash(made.data(), made.size(), reinterpret_cast<const unsigned char*>(text.data()), text.size(),
        certificate.publicBytes.data(), certificate.publicBytes.size());
    std::copy_n(made.begin(), half, uuid.begin() + half);
    return asUuid(uuid);
}

wire::Mark Security::mark(const Certificate& certificate, wire::Beacon beacon, const std::string& address)
{
    beacon.mark.reset();
    const std::string text = wire::beaconText(beacon) + address;
    wire::Mark made {};
    crypto_generichash(made.data(), made.size(), reinterpret_cast<const unsigned char*>(text.data()), text.size(),
        certificate.publicBytes.data(), certificate.publicBytes.size());
    return made;
}

CertificatePtr Security::sender(const wire::Beacon& beacon, const std::string& address) const
{
    for (const auto& [key, certificate] : m_known->byKey) {
        if (mark(*certificate, beacon, address) == *beacon.mark) {
            return certificate;
        }
    }
    return nullptr;
}

} // namespace qny
