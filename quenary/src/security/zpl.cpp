// SPDX-License-Identifier: Apache-2.0
#include "security/zpl.h"

#include "text.h"

#include <algorithm>

namespace qny {

namespace {

constexpr size_t spacesOfALevel = 4;
constexpr size_t deepest = 8;

bool isNameCharacter(char c)
{
    const bool letterOrDigit = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    return letterOrDigit || std::string_view("-_.$@&+").find(c) != std::string_view::npos;
}

bool isControl(char c)
{
    return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7F;
}

std::string_view trimmed(std::string_view text)
{
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// What stands after the "=". Says what is wrong, or nothing.
std::string readValue(std::string_view text, std::string& into)
{
    text = trimmed(text);
    const char quote = text.empty() ? '\0' : text.front();
    if (quote != '"' && quote != '\'') {
        into = trimmed(text.substr(0, text.find('#')));
        return {};
    }
    const size_t end = text.find(quote, 1);
    if (end == std::string_view::npos) {
        return "the value's quotation mark is not closed";
    }
    const std::string_view rest = trimmed(text.substr(end + 1));
    if (!rest.empty() && rest.front() != '#') {
        return "something follows the value in quotation marks";
    }
    into = text.substr(1, end - 1);
    return {};
}

std::string readLine(std::string_view line, std::vector<std::string>& levels, ZplText& into)
{
    if (!isUtf8(line) || std::ranges::any_of(line, isControl)) {
        return "this is no text";
    }
    const size_t indent = std::min(line.find_first_not_of(' '), line.size());
    const std::string_view rest = trimmed(line);
    if (rest.empty() || rest.front() == '#') {
        return {};
    }
    if (line[indent] == '\t') {
        return "it is indented with a tab, not with four spaces a level";
    }
    const size_t level = indent / spacesOfALevel;
    if (indent % spacesOfALevel != 0 || level > levels.size() || level >= deepest) {
        return "it is not indented by four spaces for each level";
    }
    const size_t nameEnd = static_cast<size_t>(std::ranges::find_if_not(rest, isNameCharacter) - rest.begin());
    const std::string_view after = trimmed(rest.substr(nameEnd));
    if (nameEnd == 0 || (!after.empty() && after.front() != '=' && after.front() != '#')) {
        return "it is neither a name nor of the form name = value";
    }
    levels.resize(level);
    ZplProperty property;
    for (const std::string& each : levels) {
        property.path += each + '/';
    }
    levels.emplace_back(rest.substr(0, nameEnd));
    property.path += levels.back();
    property.line = into.lines;
    const std::string problem = after.starts_with('=') ? readValue(after.substr(1), property.value) : std::string();
    into.properties.push_back(std::move(property));
    return problem;
}

} // namespace

const ZplProperty* ZplText::find(std::string_view path) const
{
    const auto it = std::ranges::find(properties, path, &ZplProperty::path);
    return it == properties.end() ? nullptr : &*it;
}

ZplText parseZpl(std::string_view text)
{
    ZplText parsed;
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(byteOrderMark)) {
        text.remove_prefix(byteOrderMark.size());
    }
    std::vector<std::string> levels;
    while (!text.empty()) {
        ++parsed.lines;
        const size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        if (std::string problem = readLine(line, levels, parsed); !problem.empty()) {
            parsed.problem = std::move(problem);
            parsed.problemLine = parsed.lines;
            break;
        }
    }
    return parsed;
}

} // namespace qny
