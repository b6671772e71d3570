// SPDX-License-Identifier: Apache-2.0
#include "filebackend.h"

#include "../chunk/packedchunk.h"

#include <unordered_map>

namespace recorder::csv {

FileBackend::FileBackend(std::shared_ptr<SharedIndex> shared)
    : m_shared(std::move(shared))
    , m_file(m_shared->index.path(), std::ios::binary)
{
}

StoreResult FileBackend::chunksAfter(std::int64_t firstUs, std::uint64_t sequence, std::int64_t mostFirstUs,
    std::int64_t leastLastUs, std::size_t most, std::vector<ChunkInfo>& chunks)
{
    const std::lock_guard guard(m_shared->mutex);
    m_shared->index.blocksAfter(firstUs, sequence, mostFirstUs, leastLastUs, most, chunks);
    return StoreResult::done();
}

StoreResult FileBackend::load(const ChunkInfo& chunk, std::string& packed)
{
    Block block;
    {
        const std::lock_guard guard(m_shared->mutex);
        block = m_shared->index.block(chunk.sequence);
        if (const std::string* damage = m_shared->index.damageOf(chunk.sequence)) {
            return StoreResult::failed(StoreError::Damaged, *damage);
        }
    }
    const auto changed = [](const std::string& why) {
        return StoreResult::failed(StoreError::Damaged, "the file was changed since it was loaded: " + why);
    };
    std::string bytes(block.end - block.offset, '\0');
    m_file.clear();
    m_file.seekg(static_cast<std::streamoff>(block.offset));
    m_file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (static_cast<std::size_t>(m_file.gcount()) != bytes.size()) {
        return changed("it is shorter");
    }
    Reader::Options options;
    options.firstLine = block.line;
    options.skipByteOrderMark = false;
    Reader reader(options);
    reader.feed(bytes);
    reader.finish();
    ChunkBuilder builder;
    std::unordered_map<std::string, std::uint32_t> numbers;
    std::string name;
    Entry entry;
    Reader::Step step = reader.next(entry);
    for (; step == Reader::Step::Row; step = reader.next(entry)) {
        const Event* event = std::get_if<Event>(&entry);
        if (!event) {
            continue;
        }
        name = event->agent + '\0' + event->output;
        auto number = numbers.find(name);
        if (number == numbers.end()) {
            number = numbers.emplace(name, builder.declare(event->agent, event->output)).first;
        }
        builder.add(number->second, event->timeUs, event->value);
    }
    if (step == Reader::Step::Failed) {
        return changed(reader.error().text());
    }
    if (builder.count() != block.info.count) {
        return changed("a different number of rows stands there");
    }
    packed = builder.finish(ChunkKind::Events, chunk.sequence);
    return StoreResult::done();
}

StoreResult FileBackend::stateUpTo(std::int64_t timeUs, StoredState& state, bool& found)
{
    const std::lock_guard guard(m_shared->mutex);
    const StoredState* stored = m_shared->index.stateUpTo(timeUs);
    found = stored != nullptr;
    if (found) {
        state = *stored;
    }
    return StoreResult::done();
}

StoreResult FileBackend::extent(Extent& extent)
{
    const std::lock_guard guard(m_shared->mutex);
    extent = m_shared->index.extent();
    return StoreResult::done();
}

} // namespace recorder::csv
