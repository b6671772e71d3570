// SPDX-License-Identifier: Apache-2.0
#include "recordtools.h"

#include <algorithm>
#include <map>

namespace recorder::testing {

std::unique_ptr<RecordReader> read(Store& store, const std::string& uuid)
{
    std::unique_ptr<RecordReader> reader;
    StoreResult result;
    // A server on a busy machine may not answer in time, and is asked again.
    [[maybe_unused]] const bool hasAnswered = QTest::qWaitFor(
        [&] {
            result = store.open(uuid, reader);
            return result || result.error != StoreError::Unreachable;
        },
        std::chrono::seconds(30));
    const QTest::ThrowOnFailEnabler endsTheTest;
    [&result] { QVERIFY2(result, result.message.c_str()); }();
    return reader;
}

std::vector<std::string> rowsOf(const std::string& file)
{
    std::vector<std::string> rows(1);
    bool inQuotes = false;
    for (const char c : file) {
        if (c == '\n' && !inQuotes) {
            rows.emplace_back();
            continue;
        }
        inQuotes = inQuotes != (c == '"');
        rows.back() += c;
    }
    if (rows.back().empty()) {
        rows.pop_back();
    }
    return rows;
}

std::string withoutName(const std::string& file)
{
    std::string rest;
    for (const std::string& row : rowsOf(file)) {
        if (!row.starts_with(";0;record;name;")) {
            rest += row + '\n';
        }
    }
    return rest;
}

std::string exportAll(Store& store, const std::string& uuid, const csv::ExportLimits& limits)
{
    std::string file;
    csv::ExportCursor cursor;
    do {
        // As over the network: nothing but the cursor is remembered between two requests.
        const std::unique_ptr<RecordReader> reader = read(store, uuid);
        csv::ExportChunk chunk;
        const StoreResult result
            = reader ? csv::exportChunk(*reader, cursor, chunk, limits) : StoreResult::failed(StoreError::NotFound, "");
        if (!result) {
            QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
            return file;
        }
        file += chunk.content + '\n';
        cursor = chunk.next;
    } while (!cursor.isEmpty());
    return file;
}

// Cuts as the module does: rows end at line ends outside of quotes, and each line feed is followed by one more.
std::vector<std::string> moduleChunks(const std::string& file, std::size_t rows)
{
    std::vector<std::string> chunks(1);
    std::string row;
    std::size_t count = 0;
    bool inQuotes = false;
    for (const char c : file) {
        row += c;
        if (c == '"') {
            inQuotes = !inQuotes;
        } else if (c == '\n' && !inQuotes) {
            if (count == rows) {
                chunks.emplace_back();
                count = 0;
            }
            chunks.back() += row + '\n';
            row.clear();
            ++count;
        }
    }
    if (!row.empty()) {
        chunks.back() += row + '\n';
    }
    return chunks;
}

std::string importAll(Store& store, const std::string& name, const std::string& file, std::size_t rows)
{
    csv::Import import(store, name);
    for (const std::string& chunk : moduleChunks(file, rows)) {
        const StoreResult result = import.feed(chunk);
        if (!result) {
            QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
        }
    }
    return import.uuid();
}

std::vector<Event> inOrder(std::vector<Event> events)
{
    std::stable_sort(
        events.begin(), events.end(), [](const Event& left, const Event& right) { return left.timeUs < right.timeUs; });
    return events;
}

std::vector<Event> window(const std::vector<Event>& events, std::int64_t startUs, std::int64_t endUs)
{
    std::vector<Event> inside;
    for (const Event& event : events) {
        if (event.timeUs >= startUs && event.timeUs <= endUs) {
            inside.push_back(event);
        }
    }
    return inside;
}

std::vector<OutputValue> stateOf(
    const std::vector<Event>& ordered, std::int64_t timeUs, const std::vector<OutputValue>& initialValues)
{
    std::map<std::pair<std::string, std::string>, Value> last;
    for (const OutputValue& initial : initialValues) {
        last[{ initial.agent, initial.output }] = initial.value;
    }
    for (const Event& event : ordered) {
        if (event.timeUs < timeUs) {
            last[{ event.agent, event.output }] = event.value;
        }
    }
    std::vector<OutputValue> state;
    for (const auto& [name, value] : last) {
        state.push_back({ name.first, name.second, value });
    }
    return state;
}

} // namespace recorder::testing
