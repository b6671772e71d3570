// SPDX-License-Identifier: Apache-2.0
// What libzmq 4.3.5 takes for impossible and others can bring about: it then ends the process, or speaks to whoever is
// there as to the peer that was meant. These functions of libsodium are the ones that it calls then. As this library is
// loaded before that one, ours are found first; they ask libsodium's, and answer so that one connection ends and
// nothing else.
#include <algorithm>
#include <cstring>
#include <mutex>
#include <sodium.h>
#include <string_view>
#include <utility>
#include <vector>

namespace {

bool isFor(const unsigned char* nonce, std::string_view command)
{
    return std::memcmp(nonce, command.data(), command.size()) == 0;
}

// The keys that were agreed on with a server which has proved who it is, until its READY comes: by where each is, with
// where the secret half lies of which it was made. Of keys that were never agreed on, the place holds what lay there
// before.
class AgreedKeys
{
public:
    void add(const void* key, const void* secret)
    {
        const std::lock_guard lock(m_mutex);
        drop(secret);
        if (m_keys.size() >= most) {
            m_keys.erase(m_keys.begin());
        }
        m_keys.emplace_back(key, secret);
    }
    bool take(const void* key)
    {
        const std::lock_guard lock(m_mutex);
        return std::erase_if(m_keys, [key](const auto& each) { return each.first == key; }) > 0;
    }
    // Another connection begins there.
    void forget(const void* secret)
    {
        const std::lock_guard lock(m_mutex);
        drop(secret);
    }

private:
    static constexpr size_t most = 1024;
    void drop(const void* secret)
    {
        std::erase_if(m_keys, [secret](const auto& each) { return each.second == secret; });
    }

    std::mutex m_mutex;
    std::vector<std::pair<const void*, const void*>> m_keys;
};

AgreedKeys& agreedKeys()
{
    // Never destroyed: connections may be made while the process ends.
    static auto* const keys = new AgreedKeys;
    return *keys;
}

// By the last box that this thread opened.
thread_local bool isWelcomed = false;

} // namespace

extern "C" {

int crypto_box_keypair(unsigned char* publicKey, unsigned char* secret)
{
    agreedKeys().forget(secret);
    return crypto_box_curve25519xsalsa20poly1305_keypair(publicKey, secret);
}

int crypto_box_open(unsigned char* message, const unsigned char* box, unsigned long long size,
    const unsigned char* nonce, const unsigned char* publicKey, const unsigned char* secret)
{
    const int result = crypto_box_curve25519xsalsa20poly1305_open(message, box, size, nonce, publicKey, secret);
    isWelcomed = result == 0 && isFor(nonce, "WELCOME-");
    return result;
}

// There are public keys of which every secret one makes the same, which libsodium refuses. Nobody sends them but to do
// harm: libzmq ends the process. So the key is one that nobody knows.
int crypto_box_beforenm(unsigned char* key, const unsigned char* publicKey, const unsigned char* secret)
{
    const bool isOfServer = std::exchange(isWelcomed, false);
    if (crypto_box_curve25519xsalsa20poly1305_beforenm(key, publicKey, secret) != 0) {
        randombytes_buf(key, crypto_box_BEFORENMBYTES);
    } else if (isOfServer) {
        agreedKeys().add(key, secret);
    }
    return 0;
}

// libzmq takes a server's READY without its WELCOME before it, and then whatever lies in memory for the key: zeros as a
// rule, so that whoever answered in a server's place would be taken for it, and be told what the server is to know.
int crypto_box_open_afternm(unsigned char* message, const unsigned char* box, unsigned long long size,
    const unsigned char* nonce, const unsigned char* key)
{
    if (isFor(nonce, "CurveZMQREADY---") && !agreedKeys().take(key)) {
        return -1;
    }
    return crypto_box_curve25519xsalsa20poly1305_open_afternm(message, box, size, nonce, key);
}

} // extern "C"
