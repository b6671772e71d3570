// SPDX-License-Identifier: Apache-2.0
#include "../dates.h"
#include "exchange.h"
#include "facts.h"

#include <algorithm>

namespace recorder::csv {

namespace {
constexpr std::string_view endedRemark = "The import ended early: ";
}

Import::Import(Store& store, std::string recordName)
    : m_store(store)
{
    m_facts.uuid = newRecordUuid();
    m_facts.name = std::move(recordName);
    m_facts.startUs = nowEpochUs();
    m_facts.origin = RecordOrigin::Imported;
}

Import::Import(Store& store, std::unique_ptr<RecordWriter> writer)
    : m_store(store)
    , m_facts(writer->facts())
    , m_writer(std::move(writer))
    , m_isFirst(false)
    , m_stored(true)
{
}

Import::~Import() = default;

std::unique_ptr<Import> Import::resume(Store& store, const std::string& recordUuid, StoreResult& result)
{
    std::unique_ptr<RecordWriter> writer;
    result = store.resume(recordUuid, writer);
    if (!result) {
        return nullptr;
    }
    const std::vector<std::string> remarks = writer->completeness().remarks;
    std::unique_ptr<Import> import(new Import(store, std::move(writer)));
    const auto ended = std::find_if(
        remarks.begin(), remarks.end(), [](const std::string& sentence) { return sentence.starts_with(endedRemark); });
    if (ended != remarks.end()) {
        import->m_failed = true;
        import->m_failure = *ended;
        import->m_writer.reset();
    }
    return import;
}

Reader::Options Import::readerOptions() const
{
    Reader::Options options;
    options.doubledLineEnds = true;
    options.firstLine = m_line;
    options.skipByteOrderMark = m_isFirst;
    return options;
}

// Reads the whole chunk without keeping anything, so that a bad row costs no good one half stored.
bool Import::check(std::string_view chunk, News& news, Error& error, std::uint64_t& nextLine) const
{
    news.facts = m_facts;
    Reader reader(readerOptions());
    reader.feed(chunk);
    reader.finish();
    Entry entry;
    Reader::Step step = reader.next(entry);
    for (; step == Reader::Step::Row; step = reader.next(entry)) {
        if (const Fact* fact = std::get_if<Fact>(&entry)) {
            std::string reason;
            if (!takeFact(*fact, news.facts, news.any, reason)) {
                error = { reader.rowLine(), 6, std::move(reason) };
                return false;
            }
        }
    }
    error = reader.error();
    nextLine = reader.line();
    return step == Reader::Step::End;
}

StoreResult Import::ensureWriter(const News& news)
{
    if (m_writer) {
        return news.any ? m_writer->setFacts(news.facts) : StoreResult::done();
    }
    if (StoreResult result = m_store.create(news.facts, m_writer); !result) {
        return result;
    }
    m_stored = true;
    return m_writer->setFacts(news.facts);
}

StoreResult Import::keep(std::string_view chunk, const News& news)
{
    if (StoreResult result = ensureWriter(news); !result) {
        return result;
    }
    Reader reader(readerOptions());
    reader.feed(chunk);
    reader.finish();
    Entry entry;
    while (reader.next(entry) == Reader::Step::Row) {
        StoreResult result;
        if (const Event* event = std::get_if<Event>(&entry)) {
            result = m_writer->append(event->view());
        } else if (const auto* definition = std::get_if<AgentDefinition>(&entry)) {
            result = m_writer->define(definition->agent, definition->json);
        } else if (const auto* initial = std::get_if<OutputValue>(&entry)) {
            result = m_writer->setInitial(initial->agent, initial->output, initial->value);
        }
        if (!result) {
            return result;
        }
    }
    return m_writer->settle();
}

StoreResult Import::feed(std::string_view chunk)
{
    if (m_failed) {
        return StoreResult::failed(StoreError::Refused, m_failure);
    }
    News news;
    Error error;
    std::uint64_t nextLine = m_line;
    if (!check(chunk, news, error, nextLine)) {
        return fail(StoreResult::failed(StoreError::Refused, "This is no record file: " + error.text() + '.'));
    }
    if (StoreResult result = keep(chunk, news); !result) {
        return fail(std::move(result));
    }
    m_facts = news.facts;
    m_line = nextLine;
    m_isFirst = false;
    return StoreResult::done();
}

// Ends the import. What was stored of it stays, and says so.
StoreResult Import::fail(StoreResult result)
{
    m_failed = true;
    m_failure = result.message;
    if (m_writer) {
        m_writer->dropUnstored();
        m_writer->remark(std::string(endedRemark) + result.message);
        // When this fails the writer's end leaves it to the store.
        (void)m_writer->close(0);
        m_writer.reset();
    }
    return result;
}

} // namespace recorder::csv
