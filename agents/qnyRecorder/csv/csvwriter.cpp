// SPDX-License-Identifier: Apache-2.0
#include "base64.h"
#include "csv.h"
#include "utf8.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace recorder::csv {

namespace {

constexpr bool isSpecial(char c)
{
    return (c == ';') | (c == '"') | (c == '\r') | (c == '\n');
}

constexpr std::uint64_t repeated(char c)
{
    return 0x0101010101010101U * static_cast<unsigned char>(c);
}

// Not zero when one of eight bytes is that character.
constexpr std::uint64_t findByte(std::uint64_t eight, char c)
{
    const std::uint64_t difference = eight ^ repeated(c);
    return (difference - repeated('\x01')) & ~difference & repeated('\x80');
}

bool hasSpecial(const char* at)
{
    std::uint64_t eight = 0;
    std::memcpy(&eight, at, sizeof(eight));
    return (findByte(eight, ';') | findByte(eight, '"') | findByte(eight, '\r') | findByte(eight, '\n')) != 0;
}

// Whether something in the text needs quotes. Eight bytes at a time; the last eight overlap those before.
bool hasSpecial(std::string_view text)
{
    constexpr std::size_t step = sizeof(std::uint64_t);
    if (text.size() < step) {
        return std::any_of(text.begin(), text.end(), isSpecial);
    }
    for (std::size_t at = 0; at + step <= text.size(); at += step) {
        if (hasSpecial(text.data() + at)) {
            return true;
        }
    }
    return hasSpecial(text.data() + text.size() - step);
}

// A field that holds text: an empty one is quoted, so that it differs from a field without content. A byte-order mark
// at its beginning is quoted too, so that no reader takes it off where a row begins a piece of text.
void appendText(std::string& out, std::string_view text)
{
    if (!text.empty() && !hasSpecial(text) && !text.starts_with(byteOrderMark)) {
        out += text;
        return;
    }
    out += '"';
    for (std::size_t quote = text.find('"'); quote != std::string_view::npos; quote = text.find('"')) {
        out += text.substr(0, quote + 1);
        out += '"';
        text.remove_prefix(quote + 1);
    }
    out += text;
    out += '"';
}

template <typename Number> void appendNumber(std::string& out, Number number)
{
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof(digits), number);
    out.append(digits, end.ptr);
}

void appendDouble(std::string& out, double number)
{
    if (std::isnan(number)) {
        out += "nan";
    } else if (std::isinf(number)) {
        out += number < 0 ? "-inf" : "inf";
    } else {
        appendNumber(out, number);
    }
}

void appendStart(std::string& out, std::string_view agent, std::int64_t timeUs, std::string_view kind)
{
    appendText(out, agent);
    out += ';';
    appendNumber(out, timeUs);
    out += ';';
    out += kind;
    out += ';';
}

constexpr std::size_t mostPlainName = 255;

bool isPlainName(std::string_view name)
{
    return !name.empty() && name.size() <= mostPlainName && !hasSpecial(name) && !name.starts_with(byteOrderMark);
}

char* putField(char* to, std::string_view text)
{
    std::memcpy(to, text.data(), text.size());
    to[text.size()] = ';';
    return to + text.size() + 1;
}

// A row before its value. Recording into a file is mostly this: it is put together first where nothing needs quotes.
void appendHead(std::string& out, std::string_view agent, std::int64_t timeUs, std::string_view kind,
    std::string_view output, ValueType type)
{
    if (!isPlainName(agent) || !isPlainName(output)) {
        appendStart(out, agent, timeUs, kind);
        appendText(out, output);
        out += ';';
        out += toText(type);
        out += ';';
        return;
    }
    constexpr std::size_t mostOtherBytes = 64; // time, kind, type, and what separates the fields
    char head[2 * mostPlainName + mostOtherBytes];
    char* end = putField(head, agent);
    end = std::to_chars(end, head + sizeof(head), timeUs).ptr;
    *end++ = ';';
    end = putField(end, kind);
    end = putField(end, output);
    end = putField(end, toText(type));
    out.append(head, end);
}

void appendValue(std::string& out, const ValueView& value)
{
    switch (value.type) {
    case ValueType::Impulse:
        break;
    case ValueType::Bool:
        out += value.boolean ? "true" : "false";
        break;
    case ValueType::Integer:
        appendNumber(out, value.integer);
        break;
    case ValueType::Double:
        appendDouble(out, value.real);
        break;
    case ValueType::String:
        appendText(out, value.bytes);
        break;
    case ValueType::Data:
        // No data at all is an empty text, as with strings.
        if (value.bytes.empty()) {
            out += "\"\"";
        } else {
            appendBase64(out, value.bytes);
        }
        break;
    }
    out += '\n';
}

} // namespace

void appendFact(std::string& out, std::string_view name, std::string_view value)
{
    out += ";0;record;";
    appendText(out, name);
    out += ";string;";
    appendText(out, value);
    out += '\n';
}

void appendFact(std::string& out, std::string_view name, std::int64_t value)
{
    out += ";0;record;";
    appendText(out, name);
    out += ";integer;";
    appendNumber(out, value);
    out += '\n';
}

void appendDefinition(std::string& out, std::int64_t timeUs, std::string_view agent, std::string_view json)
{
    appendStart(out, agent, timeUs, "agent");
    out += ";string;";
    appendText(out, json);
    out += '\n';
}

void appendInitial(
    std::string& out, std::int64_t timeUs, std::string_view agent, std::string_view output, const ValueView& value)
{
    appendHead(out, agent, timeUs, "initial", output, value.type);
    appendValue(out, value);
}

void appendEvent(std::string& out, const EventView& event)
{
    appendHead(out, event.agent, event.timeUs, "output", event.output, event.value.type);
    appendValue(out, event.value);
}

} // namespace recorder::csv
