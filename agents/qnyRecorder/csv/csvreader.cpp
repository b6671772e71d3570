// SPDX-License-Identifier: Apache-2.0
#include "base64.h"
#include "csv.h"
#include "utf8.h"

#include <algorithm>
#include <charconv>

namespace recorder::csv {

namespace {

constexpr int columns = 6;
constexpr std::string_view columnNames[columns] = { "agent", "time_us", "kind", "name", "type", "value" };
constexpr const char* noText = "not valid UTF-8, or with a zero byte in it";
// Unfinished rows longer than this are looked at again only when they have doubled.
constexpr std::size_t longRow = 64 * 1024;

bool isControl(char c)
{
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
}

} // namespace

std::string shown(std::string_view text)
{
    std::string out = "\"";
    for (const char c : text.substr(0, 40)) {
        out += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    }
    // A cut may have gone through a character.
    while (!isUtf8(out) && out.size() > 1) {
        out.pop_back();
    }
    return out + (text.size() > 40 ? "…\"" : "\"");
}

std::string Error::text() const
{
    std::string out = "line " + std::to_string(line);
    if (column >= 1 && column <= columns) {
        out += ", column " + std::to_string(column) + " (" + std::string(columnNames[column - 1]) + ")";
    } else if (column > columns) {
        out += ", column " + std::to_string(column);
    }
    return out + ": " + reason;
}

Reader::Reader(const Options& options)
    : m_options(options)
    , m_line(options.firstLine)
    , m_rowLine(options.firstLine)
{
}

void Reader::feed(std::string_view bytes)
{
    if (m_at > 0 && m_at >= m_buffer.size() / 2) {
        m_buffer.erase(0, m_at);
        m_tried -= std::min(m_tried, m_at);
        m_at = 0;
    }
    m_buffer += bytes;
}

void Reader::finish()
{
    m_finished = true;
}

Reader::Step Reader::fail(std::uint64_t line, int column, std::string reason)
{
    m_failed = true;
    m_error = Error();
    m_error.line = line;
    m_error.column = column;
    m_error.reason = std::move(reason);
    return Step::Failed;
}

Reader::Step Reader::next(Entry& entry)
{
    for (;;) {
        if (m_failed) {
            return Step::Failed;
        }
        bool empty = false;
        const Step step = splitRow(empty);
        if (step != Step::Row) {
            return step;
        }
        if (empty) {
            continue;
        }
        return understand(entry) ? Step::Row : Step::Failed;
    }
}

// ---- splitting

// How far the present row has been read.
struct Reader::Place
{
    std::size_t at = 0;
    std::uint64_t line = 0;
    int column = 1;
};

// Takes a byte-order mark off the file's beginning. False when more bytes are needed to tell.
bool Reader::skipMark()
{
    if (m_started || !m_options.skipByteOrderMark) {
        return true;
    }
    const std::string_view begin = std::string_view(m_buffer).substr(0, byteOrderMark.size());
    if (begin == byteOrderMark) {
        m_at += byteOrderMark.size();
        m_offset += byteOrderMark.size();
    } else if (!m_finished && byteOrderMark.starts_with(begin)) {
        return false;
    }
    m_started = true;
    return true;
}

// Cuts the next row into m_fields.
Reader::Step Reader::splitRow(bool& empty)
{
    if (!skipMark()) {
        return Step::NeedMore;
    }
    const std::size_t rowBytes = m_buffer.size() - m_at;
    if (rowBytes == 0) {
        return m_finished ? Step::End : Step::NeedMore;
    }
    if (!m_finished && m_tried > m_at && m_tried - m_at > longRow && rowBytes < 2 * (m_tried - m_at)) {
        return Step::NeedMore;
    }
    Place place { m_at, m_line, 1 };
    m_fieldCount = 0;
    for (bool rowEnds = false; !rowEnds; ++place.column) {
        switch (scanField(place, rowEnds)) {
        case Scan::Good:
            break;
        case Scan::NeedMore:
            m_tried = m_buffer.size();
            if (m_buffer.size() - m_at > m_options.mostRowBytes) {
                return fail(m_line, place.column,
                    "the row that begins here is longer than " + std::to_string(m_options.mostRowBytes / 1024 / 1024)
                        + " MiB; a closing quote may be missing");
            }
            return Step::NeedMore;
        case Scan::Failed:
            return Step::Failed;
        }
    }
    m_fieldCount = place.column - 1;
    empty = m_fieldCount == 1 && !m_fields[0].quoted && m_fields[0].text.empty();
    m_rowLine = m_line;
    m_rowOffset = m_offset;
    m_offset += place.at - m_at;
    m_at = place.at;
    m_line = place.line;
    return Step::Row;
}

// One field and what follows it: a semicolon or the end of the row. Fields after the sixth are read and forgotten.
Reader::Scan Reader::scanField(Place& place, bool& rowEnds)
{
    Field* field = place.column <= columns ? &m_fields[place.column - 1] : nullptr;
    if (field) {
        field->text.clear();
        field->quoted = false;
    }
    if (place.at < m_buffer.size() && m_buffer[place.at] == '"') {
        if (const Scan scan = scanQuoted(place, field); scan != Scan::Good) {
            return scan;
        }
    } else {
        const std::size_t end = std::min(m_buffer.find_first_of(";\r\n\"", place.at), m_buffer.size());
        if (end < m_buffer.size() && m_buffer[end] == '"') {
            fail(place.line, place.column, "a quote inside a field that does not begin with one");
            return Scan::Failed;
        }
        if (field) {
            field->text.assign(m_buffer, place.at, end - place.at);
        }
        place.at = end;
    }
    if (place.at == m_buffer.size()) {
        rowEnds = true;
        return m_finished ? Scan::Good : Scan::NeedMore;
    }
    if (m_buffer[place.at] == ';') {
        ++place.at;
        return Scan::Good;
    }
    rowEnds = true;
    return scanLineEnd(place);
}

Reader::Scan Reader::scanQuoted(Place& place, Field* field)
{
    const std::uint64_t beginLine = place.line;
    if (field) {
        field->quoted = true;
    }
    for (std::size_t from = place.at + 1;;) {
        const std::size_t quote = m_buffer.find('"', from);
        if (quote == std::string::npos) {
            if (m_finished) {
                fail(beginLine, place.column, "the quoted field that begins here never ends");
                return Scan::Failed;
            }
            return Scan::NeedMore;
        }
        if (quote + 1 == m_buffer.size() && !m_finished) {
            return Scan::NeedMore; // a second quote may follow
        }
        place.line += static_cast<std::uint64_t>(std::count(m_buffer.begin() + static_cast<std::ptrdiff_t>(from),
            m_buffer.begin() + static_cast<std::ptrdiff_t>(quote), '\n'));
        const bool doubled = quote + 1 < m_buffer.size() && m_buffer[quote + 1] == '"';
        if (field) {
            field->text.append(m_buffer, from, quote - from + (doubled ? 1 : 0));
        }
        if (doubled) {
            from = quote + 2;
            continue;
        }
        place.at = quote + 1;
        if (place.at < m_buffer.size()
            && std::string_view(";\r\n").find(m_buffer[place.at]) == std::string_view::npos) {
            fail(place.line, place.column,
                "after a quoted field comes a semicolon or the end of the line, not "
                    + shown({ &m_buffer[place.at], 1 }));
            return Scan::Failed;
        }
        return Scan::Good;
    }
}

// LF, CR LF or CR; where line feeds come doubled, the second one belongs to the first.
Reader::Scan Reader::scanLineEnd(Place& place)
{
    const char end = m_buffer[place.at++];
    const bool waits = place.at == m_buffer.size() && !m_finished;
    if (waits && (end == '\r' || m_options.doubledLineEnds)) {
        return Scan::NeedMore;
    }
    const bool lineFeedFollows = place.at < m_buffer.size() && m_buffer[place.at] == '\n';
    if (lineFeedFollows && (end == '\r' || m_options.doubledLineEnds)) {
        ++place.at;
    }
    ++place.line;
    return Scan::Good;
}

// ---- understanding

bool Reader::refuse(int column, std::string reason)
{
    fail(m_rowLine, column, std::move(reason));
    m_error.isRowWhole = true;
    return false;
}

bool Reader::understand(Entry& entry)
{
    if (m_fieldCount < columns) {
        return refuse(
            0, "only " + std::to_string(m_fieldCount) + " of the six columns agent;time_us;kind;name;type;value");
    }
    std::int64_t timeUs = 0;
    if (!parseTime(timeUs)) {
        return false;
    }
    const std::string& kind = m_fields[2].text;
    if (kind == "output") {
        if (!checkName(1) || !checkName(4)) {
            return false;
        }
        // Memory of the event before is used again.
        Event* event = std::get_if<Event>(&entry);
        if (!event) {
            event = &entry.emplace<Event>();
        }
        ValueView value;
        if (!parseValue(value)) {
            return false;
        }
        event->timeUs = timeUs;
        event->agent = m_fields[0].text;
        event->output = m_fields[3].text;
        event->value = value;
        return true;
    }
    if (kind == "initial") {
        ValueView value;
        if (!checkName(1) || !checkName(4) || !parseValue(value)) {
            return false;
        }
        entry = OutputValue { m_fields[0].text, m_fields[3].text, value };
        return true;
    }
    if (kind == "agent") {
        if (!checkName(1)) {
            return false;
        }
        if (!isText(m_fields[5].text)) {
            return refuse(6, noText);
        }
        entry = AgentDefinition { m_fields[0].text, m_fields[5].text };
        return true;
    }
    if (kind == "record") {
        return understandFact(entry);
    }
    return refuse(3, shown(kind) + " is none of record, agent, initial, output");
}

bool Reader::understandFact(Entry& entry)
{
    Fact fact { m_fields[3].text, m_fields[5].text };
    if (!isText(fact.name) || fact.name.empty()) {
        return refuse(4, "a fact about the record needs a name");
    }
    if (!isText(fact.value)) {
        return refuse(6, noText);
    }
    if (fact.name == "version") {
        int version = 0;
        const auto end = std::from_chars(fact.value.data(), fact.value.data() + fact.value.size(), version);
        if (end.ec != std::errc() || end.ptr != fact.value.data() + fact.value.size() || version < 1) {
            return refuse(6, shown(fact.value) + " is no version");
        }
        if (version > formatVersion) {
            refuse(6,
                "the file has version " + std::to_string(version) + ", and this recorder reads up to "
                    + std::to_string(formatVersion) + ": use a newer recorder");
            m_error.isNewerVersion = true;
            return false;
        }
    }
    entry = std::move(fact);
    return true;
}

bool Reader::checkName(int column)
{
    const std::string& name = m_fields[column - 1].text;
    if (name.empty()) {
        return refuse(column, column == 1 ? "the agent's name is missing" : "the output's name is missing");
    }
    if (!isUtf8(name)) {
        return refuse(column, "not valid UTF-8");
    }
    if (std::any_of(name.begin(), name.end(), isControl)) {
        return refuse(column, "a name holds no control characters");
    }
    return true;
}

bool Reader::parseTime(std::int64_t& timeUs)
{
    const std::string& text = m_fields[1].text;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), timeUs);
    if (end.ec == std::errc::result_out_of_range) {
        return refuse(2, shown(text) + " is too large a number");
    }
    if (end.ec != std::errc() || end.ptr != text.data() + text.size()) {
        return refuse(2, shown(text) + " is not a whole number of microseconds");
    }
    if (timeUs < 0) {
        return refuse(2, shown(text) + " lies before the start of the record");
    }
    return true;
}

// What `value` points at is valid until the next row.
bool Reader::parseValue(ValueView& value)
{
    ValueType type = ValueType::Impulse;
    if (!valueTypeFromText(m_fields[4].text, type)) {
        return refuse(5, shown(m_fields[4].text) + " is none of impulse, bool, integer, double, string, data");
    }
    const std::string& text = m_fields[5].text;
    const char* begin = text.data();
    const char* last = begin + text.size();
    switch (type) {
    case ValueType::Impulse:
        if (!text.empty()) {
            return refuse(6, "an impulse has no value");
        }
        value = ValueView::impulse();
        return true;
    case ValueType::Bool:
        if (text != "true" && text != "false" && text != "1" && text != "0") {
            return refuse(6, shown(text) + " is neither true nor false");
        }
        value = ValueView::fromBool(text == "true" || text == "1");
        return true;
    case ValueType::Integer: {
        std::int32_t number = 0;
        const auto end = std::from_chars(begin, last, number);
        if (end.ec != std::errc() || end.ptr != last) {
            return refuse(6, shown(text) + " is not a whole number of 32 bits");
        }
        value = ValueView::fromInteger(number);
        return true;
    }
    case ValueType::Double: {
        double number = 0;
        const auto end = std::from_chars(begin, last, number);
        if (end.ec != std::errc() || end.ptr != last) {
            return refuse(6, shown(text) + " is not a number that a double holds");
        }
        value = ValueView::fromDouble(number);
        return true;
    }
    case ValueType::String:
        if (!isText(text)) {
            return refuse(6, noText);
        }
        value = ValueView::fromString(text);
        return true;
    case ValueType::Data:
        if (!fromBase64(text, m_scratch)) {
            return refuse(6, "not base64");
        }
        value = ValueView::fromData(m_scratch);
        return true;
    }
    return false;
}

} // namespace recorder::csv
