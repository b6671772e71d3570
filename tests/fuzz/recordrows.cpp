// SPDX-License-Identifier: Apache-2.0
// Rows of a record CSV, as the recorder reads them from files and from imports. The first byte of the input chooses the
// reader's options and how the text is cut.
#include "fuzz.h"

#include "csv/csv.h"
#include "csv/utf8.h"

#include <string>
#include <vector>

using namespace recorder;

namespace {

struct Reading
{
    std::vector<csv::Entry> entries;
    bool failed = false;
    std::uint64_t line = 0; // of the failure
    int column = 0;
};

bool isSame(const csv::Entry& left, const csv::Entry& right)
{
    const auto* const fact = std::get_if<csv::Fact>(&left);
    const auto* const other = std::get_if<csv::Fact>(&right);
    if (fact || other) {
        return fact && other && fact->name == other->name && fact->value == other->value;
    }
    const auto isEqual = [&](auto kind) {
        using Kind = decltype(kind);
        return std::holds_alternative<Kind>(left) && std::get<Kind>(left) == std::get<Kind>(right);
    };
    return left.index() == right.index() && (isEqual(AgentDefinition()) || isEqual(OutputValue()) || isEqual(Event()));
}

Reading readAll(const csv::Reader::Options& options, std::string_view text, std::size_t pieceBytes)
{
    csv::Reader reader(options);
    Reading result;
    csv::Entry entry;
    std::uint64_t offset = 0;
    std::size_t at = 0;
    for (;;) {
        switch (reader.next(entry)) {
        case csv::Reader::Step::Row:
            fuzz::expect(
                reader.rowOffset() >= offset && reader.offset() > reader.rowOffset() && reader.offset() <= text.size(),
                "rows follow one another within the text");
            offset = reader.offset();
            result.entries.push_back(entry);
            break;
        case csv::Reader::Step::NeedMore:
            if (at == text.size()) {
                reader.finish();
            } else {
                const std::string_view piece = text.substr(at, pieceBytes);
                reader.feed(piece);
                reader.lookAgain();
                at += piece.size();
            }
            break;
        case csv::Reader::Step::Failed:
            result.failed = true;
            result.line = reader.error().line;
            result.column = reader.error().column;
            fuzz::expect(result.line >= 1 && csv::isUtf8(reader.error().text()), "what is wrong can be shown");
            return result;
        case csv::Reader::Step::End:
            fuzz::expect(at == text.size(), "all of the text was read");
            return result;
        }
    }
}

void append(std::string& out, const csv::Entry& entry)
{
    if (const auto* const fact = std::get_if<csv::Fact>(&entry)) {
        csv::appendFact(out, fact->name, fact->value);
    } else if (const auto* const definition = std::get_if<AgentDefinition>(&entry)) {
        csv::appendDefinition(out, 0, definition->agent, definition->json);
    } else if (const auto* const initial = std::get_if<OutputValue>(&entry)) {
        csv::appendInitial(out, 0, initial->agent, initial->output, initial->value);
    } else {
        csv::appendEvent(out, std::get<Event>(entry).view());
    }
}

bool isSameReading(const Reading& left, const Reading& right)
{
    bool isEqual = left.entries.size() == right.entries.size();
    for (std::size_t i = 0; isEqual && i < left.entries.size(); ++i) {
        isEqual = isSame(left.entries[i], right.entries[i]);
    }
    return isEqual;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::Input input(data, size);
    const auto choice = input.number<uint8_t>();
    csv::Reader::Options options;
    options.doubledLineEnds = choice & 1;
    options.skipByteOrderMark = choice & 2;
    const std::string_view text = input.rest();

    const Reading whole = readAll(options, text, text.size() + 1);
    const Reading inPieces = readAll(options, text, 1 + (choice >> 2));
    fuzz::expect(isSameReading(whole, inPieces) && whole.failed == inPieces.failed && whole.line == inPieces.line
            && whole.column == inPieces.column,
        "the cut of the text changes nothing");

    std::string written;
    for (const csv::Entry& entry : whole.entries) {
        append(written, entry);
    }
    const Reading again = readAll({}, written, written.size() + 1);
    fuzz::expect(!again.failed && isSameReading(whole, again), "what is written reads the same");
    return 0;
}
