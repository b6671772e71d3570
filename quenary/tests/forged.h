// SPDX-License-Identifier: Apache-2.0
// Messages of the network, made by hand.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

namespace test {

// A message as one of our own would send it. Sessions and uuid are the caller's choice.
struct Forged
{
    std::string uuid = std::string("0123456789abcdef");
    uint64_t session = 77;
    uint64_t theirs = 0;
    uint16_t port = 9;

    std::string make(uint8_t type, const std::string& payload = {}, uint8_t version = 1) const
    {
        std::string text = "QN";
        text += static_cast<char>(version);
        text += static_cast<char>(type);
        text.append(reinterpret_cast<const char*>(&port), 2);
        text.append(2, '\0');
        text += uuid;
        text.append(reinterpret_cast<const char*>(&session), 8);
        text.append(reinterpret_cast<const char*>(&theirs), 8);
        return text + payload;
    }
};

template <typename T> std::string raw(T value)
{
    return { reinterpret_cast<const char*>(&value), sizeof value };
}

// The number that begins at that byte.
inline uint64_t numberAt(const std::string& message, size_t place)
{
    uint64_t number = 0;
    std::memcpy(&number, message.data() + place, sizeof number);
    return number;
}

// Of a peer that is not there.
inline std::string beaconOf(const std::string& uuid)
{
    return std::string("QNYB\1\0", 6) + raw<uint16_t>(1) + uuid;
}

inline std::string named(const std::string& name)
{
    return static_cast<char>(name.size()) + name;
}

inline std::string item(uint8_t kind, const std::string& payload)
{
    return raw(static_cast<uint32_t>(payload.size() + 1)) + static_cast<char>(kind) + payload;
}

inline std::string agentItem(const std::string& uuid, const std::string& name, const std::string& definition)
{
    return item(1, uuid + '\0' + named(name) + raw(static_cast<uint32_t>(definition.size())) + definition);
}

inline std::string helloPayload()
{
    return raw<uint64_t>(1000) + raw<int64_t>(1) + named("host") + raw<uint32_t>(0) + raw<uint16_t>(0);
}

} // namespace test
