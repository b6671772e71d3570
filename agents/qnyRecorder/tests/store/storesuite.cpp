// SPDX-License-Identifier: Apache-2.0
#include "storesuite.h"

namespace recorder::testing {

void StoreSuite::init()
{
    m_under.makeEmpty();
    const std::lock_guard guard(m_messagesMutex);
    m_messages.clear();
}

void StoreSuite::cleanup()
{
    if (QTest::currentTestFailed()) {
        const std::lock_guard guard(m_messagesMutex);
        for (const std::string& message : m_messages) {
            qInfo("the store said: %s", message.c_str());
        }
    }
}

std::unique_ptr<Store> StoreSuite::openStore()
{
    StoreResult result;
    std::unique_ptr<Store> store = m_under.open(result, [this](const std::string& message) {
        const std::lock_guard guard(m_messagesMutex);
        m_messages.push_back(message);
    });
    if (!store) {
        QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
    }
    return store;
}

std::unique_ptr<RecordReader> StoreSuite::read(Store& store, const std::string& uuid)
{
    std::unique_ptr<RecordReader> reader;
    const StoreResult result = store.open(uuid, reader);
    if (!result) {
        QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
    }
    return reader;
}

RecordFacts StoreSuite::newFacts(const std::string& name, std::int64_t startUs)
{
    RecordFacts facts;
    facts.uuid = newRecordUuid();
    facts.name = name;
    facts.startUs = startUs;
    return facts;
}

std::string StoreSuite::record(Store& store, const std::vector<Event>& events, const std::string& name)
{
    std::unique_ptr<RecordWriter> writer;
    const RecordFacts facts = newFacts(name);
    StoreResult result = store.create(facts, writer);
    std::int64_t timeUs = 0;
    std::size_t sinceTick = 0;
    for (const Event& event : events) {
        timeUs = std::max(timeUs, event.timeUs);
        if (result) {
            result = writer->append(event.view());
        }
        if (result && ++sinceTick == 1000) {
            sinceTick = 0;
            result = writer->tick(timeUs);
        }
    }
    if (result) {
        result = writer->close(timeUs);
    }
    if (!result) {
        QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
    }
    return facts.uuid;
}

std::string StoreSuite::exportAll(Store& store, const std::string& uuid, const csv::ExportLimits& limits)
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
std::vector<std::string> StoreSuite::moduleChunks(const std::string& file, std::size_t rows)
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

std::string StoreSuite::importAll(Store& store, const std::string& name, const std::string& file, std::size_t rows)
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

} // namespace recorder::testing
