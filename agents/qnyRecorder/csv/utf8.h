// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace recorder::csv {

// What some programs write before the text of a file.
inline constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

// Whether the bytes are valid UTF-8: no overlong forms, no surrogates, nothing beyond U+10FFFF.
bool isUtf8(std::string_view bytes);
// The same without a zero byte, at which every text ends that goes over the network.
bool isText(std::string_view bytes);

} // namespace recorder::csv
