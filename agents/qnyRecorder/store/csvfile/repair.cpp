// SPDX-License-Identifier: Apache-2.0
#include "../../csv/csv.h"
#include "../../csv/facts.h"
#include "closing.h"
#include "context.h"

#include <algorithm>
#include <cstdio>

namespace recorder {

namespace {

std::string quoted(const RecordFacts& facts, const RecordFile& file)
{
    return "The record \"" + facts.name + "\" (" + file.path().string() + ")";
}

std::string seconds(std::int64_t us)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%.3f", static_cast<double>(us) / 1e6);
    return text;
}

std::string cutOff(std::uint64_t bytes)
{
    return bytes == 0 ? std::string(".")
                      : "; a half-written row at its end (" + std::to_string(bytes) + " bytes) was taken off.";
}

// What follows the last row that can be read.
enum class Tail
{
    None,
    HalfRow, // one row that does not end, as somebody leaves it who ends while writing
    HalfClosing, // the last closing row, and only its line end is missing
    Unreadable // something else, which is not the store's to touch
};

Tail tailOf(const RecordFile& file, std::uint64_t from, std::uint64_t size)
{
    constexpr std::uint64_t pieceBytes = 1024 * 1024;
    if (from == size) {
        return Tail::None;
    }
    csv::Reader::Options options;
    options.skipByteOrderMark = false;
    csv::Reader reader(options);
    csv::Entry entry;
    for (std::uint64_t at = from; at < size;) {
        std::string piece;
        if (!file.read(at, std::min(pieceBytes, size - at), piece) || piece.empty()) {
            return Tail::Unreadable;
        }
        at += piece.size();
        reader.feed(piece);
        if (at == size) {
            reader.lookAgain();
        }
        if (reader.next(entry) != csv::Reader::Step::NeedMore) {
            return Tail::Unreadable;
        }
    }
    reader.finish();
    if (reader.next(entry) == csv::Reader::Step::Row) {
        const csv::Fact* fact = std::get_if<csv::Fact>(&entry);
        return fact && fact->name == csv::closingFact ? Tail::HalfClosing : Tail::HalfRow;
    }
    return Tail::HalfRow;
}

// Gives the last row its line end back. False, with the file as it was, when the record is not closed by that.
bool isWholeWithLineEnd(RecordFile& file, std::uint64_t size)
{
    Closing closing;
    if (file.append("\n", 0) && readClosing(file, size + 1, closing)) {
        return true;
    }
    (void)file.replaceEnd(size, {});
    return false;
}

} // namespace

StoreResult repairFile(CsvFileContext& context, const std::string& uuid, RecordFile& file)
{
    auto shared = std::make_shared<csv::SharedIndex>(file.path(), csv::FileIndex::BadRows::PassOver);
    csv::FileIndex& index = shared->index;
    if (StoreResult result = index.update(false); !result) {
        return result;
    }
    const RecordFacts facts = index.facts();
    std::string rows;
    std::uint64_t end = index.soundEnd();
    const Tail tail = tailOf(file, end, index.size());
    if (tail == Tail::Unreadable || (tail != Tail::None && end == 0)) {
        // It is somebody's, who may be able to save it anew.
        const std::string reason = "The file " + file.path().string()
            + " is left as it is: what stands in it from byte " + std::to_string(end) + " on cannot be read as rows of a record; another program may have saved it.";
        context.sayOnce(reason);
        return StoreResult::failed(StoreError::Refused, reason);
    }
    if (tail == Tail::HalfClosing && isWholeWithLineEnd(file, index.size())) {
        context.forgetIndex(uuid);
        context.listChanged();
        context.say(quoted(facts, file) + " was changed by another program: its last line end is back.");
        return StoreResult::done();
    }
    Closing before;
    const bool isImportCut = facts.origin == RecordOrigin::Imported && tail != Tail::HalfClosing
        && index.closedEnd() > 0 && index.closedEnd() < index.size() && index.damages() == 0
        && readClosing(file, index.closedEnd(), before);
    std::string message;
    if (isImportCut) {
        // As it was after the last part that came whole.
        end = index.closedEnd();
        message = quoted(facts, file)
            + " was left by a recorder that ended while it imported: what did not come whole was taken off, "
            + std::to_string(index.size() - end) + " bytes.";
    } else {
        Completeness completeness = facts.completeness;
        if (index.closedEnd() == 0) {
            completeness.remarks.emplace_back(
                "The recorder ended without closing this record: up to a second at its end may be missing.");
            message = quoted(facts, file) + " was left open by a recorder that ended: it is closed now, "
                + seconds(facts.durationUs) + " s long, with " + std::to_string(index.events()) + " events"
                + cutOff(index.size() - end);
        } else {
            message = quoted(facts, file) + " was changed by another program: it is closed anew, "
                + seconds(facts.durationUs) + " s long, with " + std::to_string(index.events()) + " events"
                + cutOff(index.size() - end);
        }
        csv::appendFact(rows, "completeness", completeness.toJson());
        appendClosing(rows, { facts.name, facts.startUs, facts.durationUs, index.events(), facts.origin });
    }
    if (StoreResult result = file.replaceEnd(end, rows); !result) {
        return result;
    }
    context.forgetIndex(uuid);
    context.listChanged();
    context.say(message);
    if (Closing closed; !readClosing(file, file.size(), closed)) {
        // Closing it again and again would fill the disk.
        return StoreResult::failed(
            StoreError::Refused, "The file " + file.path().string() + " cannot be closed so that it is found closed.");
    }
    return StoreResult::done();
}

StoreResult repairIfAbandoned(CsvFileContext& context, const std::string& uuid, const std::filesystem::path& path)
{
    RecordFile file;
    if (StoreResult result = file.open(path, RecordFile::Access::Write); !result) {
        return result;
    }
    for (const RecordFile::Part part : { RecordFile::Part::Owner, RecordFile::Part::Editing }) {
        if (StoreResult result = file.lock(part); !result) {
            return result;
        }
    }
    Closing closing;
    if (!file.hasName() || readClosing(file, file.size(), closing)) {
        return StoreResult::done();
    }
    return repairFile(context, uuid, file);
}

} // namespace recorder
