// SPDX-License-Identifier: Apache-2.0
// The text form of certificates: names and values, indented by four spaces a level.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qny {

struct ZplProperty
{
    std::string path; // "curve/public-key"
    std::string value; // empty for a section
    size_t line = 0; // from 1
};

struct ZplText
{
    std::vector<ZplProperty> properties; // in the order of the text
    size_t lines = 0;
    // What is wrong with the text, and where; nothing else is to be used then.
    std::string problem;
    size_t problemLine = 0;

    // The first of that path, or null.
    const ZplProperty* find(std::string_view path) const;
};

ZplText parseZpl(std::string_view text);

} // namespace qny
