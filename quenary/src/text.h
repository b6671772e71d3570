// SPDX-License-Identifier: Apache-2.0
// Names, UTF-8 and uuids.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace qny {

constexpr size_t maxNameBytes = 255;

bool isUtf8(std::string_view text);

// Why a text cannot be a name, or an empty text when it can.
std::string nameProblem(std::string_view name, bool ofAgent);

using Uuid = std::array<uint8_t, 16>;

// The bytes of a uuid are random already: any eight of them are a hash.
struct UuidHash
{
    size_t operator()(const Uuid& uuid) const noexcept
    {
        size_t hash = 0;
        std::memcpy(&hash, uuid.data(), sizeof hash);
        return hash;
    }
};

Uuid newUuid();
// With the bits by which a random uuid is told for one.
Uuid asUuid(Uuid uuid);
uint64_t randomNumber();
// Lower case, without braces.
std::string toText(const Uuid& uuid);
std::optional<Uuid> uuidFromText(std::string_view text);

// Lets maps of strings be searched by views.
struct TextHash
{
    using is_transparent = void;
    size_t operator()(std::string_view text) const noexcept { return std::hash<std::string_view> {}(text); }
};

} // namespace qny
