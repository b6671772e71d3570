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
// Control characters of ASCII, and those of the second block (U+0080 to U+009F), which are two bytes.
bool hasControl(std::string_view text);

// Why a text cannot be a name, or an empty text when it can.
std::string nameProblem(std::string_view name, bool ofAgent);

using Uuid = std::array<uint8_t, 16>;

// Of this process alone: others choose names and uuids, and could choose such that fall together, so that each takes as
// long to be found as all of them.
size_t hashOf(const void* bytes, size_t size);

// Neither this nor the next says that it is noexcept: so maps keep what it gives, and do not ask again on their way.
struct UuidHash
{
    size_t operator()(const Uuid& uuid) const { return hashOf(uuid.data(), uuid.size()); }
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
    size_t operator()(std::string_view text) const { return hashOf(text.data(), text.size()); }
};

} // namespace qny
