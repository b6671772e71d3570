// SPDX-License-Identifier: Apache-2.0
#include "../../csv/csv.h"
#include "closing.h"
#include "context.h"

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
    std::string message;
    if (facts.origin == RecordOrigin::Imported && index.closedEnd() > 0) {
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
