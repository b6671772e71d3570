// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../event.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace recorder::csv {

// The record CSV: one row an event, `agent;time_us;kind;name;type;value`. docs/record-csv.md describes it.

inline constexpr int formatVersion = 1;

// A fact about the record: version, name, start_date, duration_us, description, completeness.
struct Fact
{
    std::string name;
    std::string value;
};

// One row, understood.
using Entry = std::variant<Fact, AgentDefinition, OutputValue /* an initial value */, Event>;

// What was wrong with a text, and where.
struct Error
{
    std::uint64_t line = 0; // from 1
    int column = 0; // field of the row, from 1; 0: the row as a whole
    std::string reason;
    bool isRowWhole = false; // the row's end is known: what follows it can be read
    bool isNewerVersion = false; // the file needs a newer recorder
    std::string text() const; // "line 3, column 2 (time_us): …"
};

// A text from a file as part of a message: short, quoted, on one line.
std::string shown(std::string_view text);

// Appends one row and its line end to `out`. Never fails.
void appendFact(std::string& out, std::string_view name, std::string_view value);
void appendFact(std::string& out, std::string_view name, std::int64_t value);
void appendDefinition(std::string& out, std::int64_t timeUs, std::string_view agent, std::string_view json);
void appendInitial(
    std::string& out, std::int64_t timeUs, std::string_view agent, std::string_view output, const ValueView& value);
void appendEvent(std::string& out, const EventView& event);

// Reads rows out of pieces of text, in any cut. One use: feed, take entries until NeedMore, feed on, finish.
//
//   Reader reader;
//   reader.feed(bytes); …; reader.finish();
//   Entry entry;
//   for (;;) switch (reader.next(entry)) { case Reader::Step::Row: …; case Reader::Step::NeedMore: …; … }
class Reader
{
public:
    enum class Step
    {
        Row,
        NeedMore, // feed() or finish() first
        End, // after finish(): no row is left
        Failed // error() says why; the reader stays failed
    };

    struct Options
    {
        // Each row's line feed comes twice, as the module's import sends it: the second one is no line of its own.
        bool doubledLineEnds = false;
        std::uint64_t firstLine = 1; // number of the first line, for messages
        std::size_t mostRowBytes
            = 256 * 1024 * 1024; // a longer row is refused, so that a lost quote does not eat memory
        bool skipByteOrderMark = true; // only where a file begins
    };

    Reader() = default;
    explicit Reader(const Options& options);

    void feed(std::string_view bytes); // copied
    void finish();
    // For when nothing more comes for now: a long row is not looked at again with every little piece of it, and may be
    // there already.
    void lookAgain() { m_tried = 0; }
    Step next(Entry& entry);
    // After a refusal of a row whose end is known: next() gives the one behind it.
    void passOver() { m_failed = false; }
    const Error& error() const { return m_error; }
    std::uint64_t line() const { return m_line; } // of the next row
    std::uint64_t rowLine() const { return m_rowLine; } // where the last row began
    std::uint64_t rowOffset() const { return m_rowOffset; } // byte at which the last row began
    std::uint64_t offset() const { return m_offset; } // byte after the last row and its line end

private:
    struct Field
    {
        std::string text;
        bool quoted = false;
    };
    enum class Scan
    {
        Good,
        NeedMore,
        Failed
    };
    struct Place;

    Step splitRow(bool& empty);
    Scan scanField(Place& place, bool& rowEnds);
    Scan scanQuoted(Place& place, Field* field);
    Scan scanLineEnd(Place& place);
    bool skipMark();
    Step fail(std::uint64_t line, int column, std::string reason);
    bool understand(Entry& entry);
    bool understandFact(Entry& entry);
    bool parseTime(std::int64_t& timeUs);
    bool parseValue(ValueView& value);
    bool checkName(int column);
    bool refuse(int column, std::string reason);

    Options m_options;
    std::string m_buffer;
    std::size_t m_at = 0; // in the buffer, where the next row begins
    std::size_t m_tried = 0; // size of the buffer when the unfinished row was last looked at
    bool m_started = false;
    bool m_finished = false;
    bool m_failed = false;
    Error m_error;
    Field m_fields[6];
    int m_fieldCount = 0;
    std::uint64_t m_line = 1;
    std::uint64_t m_rowLine = 1;
    std::uint64_t m_rowOffset = 0;
    std::uint64_t m_offset = 0;
    std::string m_scratch;
};

} // namespace recorder::csv
