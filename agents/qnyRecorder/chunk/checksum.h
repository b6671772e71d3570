// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>

namespace recorder {

// CRC-32C (Castagnoli). `start` is the result for the bytes before these, 0 for none.
// Uses the processor's own instruction where there is one.
std::uint32_t crc32c(std::string_view bytes, std::uint32_t start = 0);
// The same, on any processor.
std::uint32_t crc32cByTables(std::string_view bytes, std::uint32_t start = 0);

} // namespace recorder
