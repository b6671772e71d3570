// SPDX-License-Identifier: Apache-2.0
#include "closing.h"

#include "../../csv/csv.h"
#include "../../csv/facts.h"
#include "../../csv/utf8.h"
#include "../../dates.h"
#include "recordfile.h"

#include <charconv>

namespace recorder {

namespace {

constexpr std::uint64_t mostMarkerBytes = 64;
constexpr std::uint64_t mostClosingBytes = 16 * 1024 * 1024; // names may be long, and records renamed often

constexpr std::size_t mostNameBytes = 64 * 1024;

// Of a name as long as the closing rows may be, nobody would find these again.
std::string_view closingName(std::string_view name)
{
    if (name.size() > mostNameBytes) {
        name = name.substr(0, mostNameBytes);
        while (!csv::isUtf8(name)) {
            name.remove_suffix(1); // the cut went through a character
        }
    }
    return name;
}

std::string originText(RecordOrigin origin)
{
    return std::string(origin == RecordOrigin::Recorded ? csv::recordedOrigin : csv::importedOrigin);
}

// The last row, which says how many bytes the closing rows before it have. 0 when the file does not end with one.
struct Marker
{
    std::uint64_t rowBytes = 0;
    std::uint64_t closingBytes = 0;
};

Marker readMarker(const RecordFile& file, std::uint64_t size)
{
    std::string prefix;
    csv::appendFact(prefix, csv::closingFact, std::int64_t(0));
    prefix.resize(prefix.size() - 2); // without the number and the line end
    const std::uint64_t bytes = std::min(size, mostMarkerBytes);
    std::string end;
    if (!file.read(size - bytes, bytes, end) || end.size() != bytes || !end.ends_with('\n')) {
        return {};
    }
    const std::size_t row = end.rfind('\n', end.size() - 2);
    if (row == std::string::npos || end.compare(row + 1, prefix.size(), prefix) != 0) {
        return {};
    }
    Marker marker;
    const char* last = end.data() + end.size() - 1;
    const auto parsed = std::from_chars(end.data() + row + 1 + prefix.size(), last, marker.closingBytes);
    marker.rowBytes = end.size() - row - 1;
    const bool isSound = parsed.ec == std::errc() && parsed.ptr == last && marker.closingBytes > 0
        && marker.closingBytes <= mostClosingBytes && marker.closingBytes + marker.rowBytes <= size;
    return isSound ? marker : Marker();
}

template <typename Number> bool readNumber(const std::string& text, Number& number)
{
    const char* end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, number);
    return parsed.ec == std::errc() && parsed.ptr == end;
}

} // namespace

void appendClosing(std::string& out, const Closing& closing)
{
    const std::size_t begin = out.size();
    csv::appendFact(out, "name", closingName(closing.name));
    csv::appendFact(out, "start_date", toCsvDate(closing.startUs));
    csv::appendFact(out, csv::originFact, originText(closing.origin));
    csv::appendFact(out, "duration_us", closing.durationUs);
    csv::appendFact(out, csv::eventsFact, static_cast<std::int64_t>(closing.events));
    csv::appendFact(out, csv::closingFact, static_cast<std::int64_t>(out.size() - begin));
}

bool readClosing(const RecordFile& file, std::uint64_t size, Closing& closing)
{
    const Marker marker = readMarker(file, size);
    std::string rows;
    const std::uint64_t begin = size - marker.rowBytes - marker.closingBytes;
    if (marker.rowBytes == 0 || !file.read(begin, marker.closingBytes, rows) || rows.size() != marker.closingBytes) {
        return false;
    }
    csv::Reader reader;
    reader.feed(rows);
    reader.finish();
    csv::Entry entry;
    RecordFacts facts;
    bool hasOrigin = false;
    bool hasEvents = false;
    csv::Reader::Step step = reader.next(entry);
    for (; step == csv::Reader::Step::Row; step = reader.next(entry)) {
        const csv::Fact* fact = std::get_if<csv::Fact>(&entry);
        bool changed = false;
        std::string reason;
        if (!fact || !csv::takeFact(*fact, facts, changed, reason)) {
            return false;
        }
        if (fact->name == "name") {
            closing.name = fact->value;
        } else if (fact->name == csv::eventsFact) {
            hasEvents = readNumber(fact->value, closing.events);
        } else if (fact->name == csv::originFact) {
            hasOrigin = true;
            closing.origin = fact->value == csv::recordedOrigin ? RecordOrigin::Recorded : RecordOrigin::Imported;
        }
    }
    closing.startUs = facts.startUs;
    closing.durationUs = facts.durationUs;
    return step == csv::Reader::Step::End && hasOrigin && hasEvents;
}

std::string closingWithName(const RecordFile& file, std::uint64_t size, const std::string& name)
{
    const Marker marker = readMarker(file, size);
    std::string rows;
    csv::appendFact(rows, "name", closingName(name));
    const std::uint64_t bytes = marker.closingBytes + marker.rowBytes + rows.size();
    csv::appendFact(rows, csv::closingFact, static_cast<std::int64_t>(bytes));
    return rows;
}

} // namespace recorder
