// SPDX-License-Identifier: Apache-2.0
#include "filerecord.h"

#include "../chunk/packedchunk.h"
#include "../dates.h"
#include "../store/chunkedreader.h"
#include "../store/tally.h"
#include "csv.h"
#include "facts.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <tuple>
#include <unordered_map>

namespace recorder::csv {

namespace {

constexpr std::size_t readBytes = 256 * 1024;
constexpr std::uint64_t blockBytes = 64 * 1024;
// States kept in memory while the file is looked through: one each so many bytes of the file, and so many in all.
constexpr std::uint64_t stateIntervalBytes = 16 * 1024 * 1024;
constexpr std::uint64_t mostStatesBytes = 64 * 1024 * 1024;

// A run of rows of the file, taken as a chunk.
struct Block
{
    ChunkInfo info;
    std::uint64_t offset = 0;
    std::uint64_t end = 0;
    std::uint64_t line = 1;
};

struct FileIndex
{
    std::filesystem::path path;
    RecordFacts facts;
    std::vector<AgentDefinition> definitions;
    std::vector<OutputValue> initialValues;
    std::vector<Block> blocks; // by sequence
    std::vector<std::uint64_t> byTime; // sequences in the order of first time, then sequence
    std::vector<StoredState> states; // by time
    Extent extent;
};

// Replaces the entry of the same key, else adds one: the last of two holds, the first one's place stays.
template <typename Row>
void put(std::vector<Row>& rows, std::unordered_map<std::string, std::size_t>& places, std::string key, Row row)
{
    const auto [place, isNew] = places.emplace(std::move(key), rows.size());
    if (isNew) {
        rows.push_back(std::move(row));
    } else {
        rows[place->second] = std::move(row);
    }
}

// Looks through a file once.
class Scan
{
public:
    Scan(FileIndex& index, const Progress& progress)
        : m_index(index)
        , m_progress(progress)
    {
    }

    StoreResult run();

private:
    bool take(Entry& entry, const Reader& reader, std::string& reason);
    void takeEvent(const Event& event, const Reader& reader);
    void endBlock(std::uint64_t end);
    void keepState();
    void conclude();

    FileIndex& m_index;
    const Progress& m_progress;
    Tally m_tally;
    std::unordered_map<std::string, std::size_t> m_definitionPlaces;
    std::unordered_map<std::string, std::size_t> m_initialPlaces;
    Block m_block;
    std::uint64_t m_sinceState = 0;
    std::uint64_t m_statesBytes = 0;
};

StoreResult Scan::run()
{
    std::ifstream file(m_index.path, std::ios::binary);
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(m_index.path, error);
    if (!file || error) {
        return StoreResult::failed(StoreError::Unreachable,
            "The file " + m_index.path.string() + " cannot be read ("
                + (error ? error.message() : std::string(std::strerror(errno))) + ").");
    }
    Reader reader;
    Entry entry;
    std::string bytes(readBytes, '\0');
    int percent = -1;
    for (bool isDone = false; !isDone;) {
        file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        reader.feed(std::string_view(bytes.data(), static_cast<std::size_t>(file.gcount())));
        if (!file) {
            reader.finish();
            isDone = true;
        }
        Reader::Step step = reader.next(entry);
        for (; step == Reader::Step::Row; step = reader.next(entry)) {
            std::string reason;
            if (!take(entry, reader, reason)) {
                const Error wrong { reader.rowLine(), 6, reason };
                return StoreResult::failed(StoreError::Refused, m_index.path.string() + ", " + wrong.text() + '.');
            }
        }
        if (step == Reader::Step::Failed) {
            return StoreResult::failed(StoreError::Refused, m_index.path.string() + ", " + reader.error().text() + '.');
        }
        const int now = size == 0 ? 100 : static_cast<int>(std::min<std::uintmax_t>(100, reader.offset() * 100 / size));
        if (m_progress && (now != percent || !isDone) && !m_progress(now)) {
            return StoreResult::failed(StoreError::Refused, "Reading " + m_index.path.string() + " was given up.");
        }
        percent = now;
    }
    endBlock(reader.offset());
    conclude();
    return StoreResult::done();
}

bool Scan::take(Entry& entry, const Reader& reader, std::string& reason)
{
    if (const Event* event = std::get_if<Event>(&entry)) {
        takeEvent(*event, reader);
    } else if (const auto* definition = std::get_if<AgentDefinition>(&entry)) {
        put(m_index.definitions, m_definitionPlaces, definition->agent, *definition);
    } else if (const auto* initial = std::get_if<OutputValue>(&entry)) {
        put(m_index.initialValues, m_initialPlaces, initial->agent + '\0' + initial->output, *initial);
    } else if (const Fact* fact = std::get_if<Fact>(&entry)) {
        bool changed = false;
        if (fact->name == "name") {
            m_index.facts.name = fact->value;
        }
        return takeFact(*fact, m_index.facts, changed, reason);
    }
    return true;
}

void Scan::takeEvent(const Event& event, const Reader& reader)
{
    if (m_block.info.count > 0 && reader.offset() - m_block.offset > blockBytes) {
        endBlock(reader.rowOffset());
    }
    ChunkInfo& info = m_block.info;
    if (info.count == 0) {
        m_block.offset = reader.rowOffset();
        m_block.line = reader.rowLine();
        info.firstUs = event.timeUs;
        info.lastUs = event.timeUs;
    }
    ++info.count;
    info.firstUs = std::min(info.firstUs, event.timeUs);
    info.lastUs = std::max(info.lastUs, event.timeUs);
    Tally::Output& output = m_tally.output(event.agent, event.output);
    if (event.timeUs >= output.lastUs) {
        m_tally.remember(output, event.value);
    }
    Tally::count(output, event.timeUs);
}

void Scan::endBlock(std::uint64_t end)
{
    if (m_block.info.count == 0) {
        return;
    }
    m_block.end = end;
    const ChunkInfo& info = m_block.info;
    Extent& extent = m_index.extent;
    extent.maxSpanUs = std::max(extent.maxSpanUs, info.lastUs - info.firstUs);
    extent.maxLateUs = std::max(extent.maxLateUs, extent.highUs - info.firstUs);
    extent.highUs = std::max(extent.highUs, info.lastUs);
    extent.events += info.count;
    extent.nextSequence = info.sequence + 1;
    m_sinceState += m_block.end - m_block.offset;
    m_index.blocks.push_back(m_block);
    m_block = Block();
    m_block.info.sequence = extent.nextSequence;
    keepState();
}

void Scan::keepState()
{
    const std::uint64_t bytes = m_tally.stateBytes();
    if (m_sinceState >= std::max(stateIntervalBytes, 8 * bytes) && m_statesBytes + bytes <= mostStatesBytes) {
        m_sinceState = 0;
        m_statesBytes += bytes;
        const Extent& extent = m_index.extent;
        m_index.states.push_back({ extent.nextSequence, extent.highUs, m_tally.packState(extent.nextSequence) });
    }
}

void Scan::conclude()
{
    m_index.byTime.resize(m_index.blocks.size());
    for (std::size_t i = 0; i < m_index.byTime.size(); ++i) {
        m_index.byTime[i] = i;
    }
    std::sort(m_index.byTime.begin(), m_index.byTime.end(), [this](std::uint64_t left, std::uint64_t right) {
        return std::tuple(m_index.blocks[left].info.firstUs, left)
            < std::tuple(m_index.blocks[right].info.firstUs, right);
    });
    m_index.facts.durationUs = std::max(m_index.facts.durationUs, m_index.extent.highUs);
    m_index.facts.completeness = withClaim(m_index.facts.completeness, m_tally.completeness());
}

// Reads blocks of the file again and packs them, so that everything above it works as with a database.
class FileBackend : public ChunkBackend
{
public:
    explicit FileBackend(std::shared_ptr<const FileIndex> index)
        : m_index(std::move(index))
        , m_file(m_index->path, std::ios::binary)
    {
    }

    StoreResult chunksAfter(std::int64_t firstUs, std::uint64_t sequence, std::int64_t mostFirstUs,
        std::int64_t leastLastUs, std::size_t most, std::vector<ChunkInfo>& chunks) override;
    StoreResult load(const ChunkInfo& chunk, std::string& packed) override;
    StoreResult stateUpTo(std::int64_t timeUs, StoredState& state, bool& found) override;
    StoreResult extent(Extent& extent) override
    {
        extent = m_index->extent;
        return StoreResult::done();
    }

private:
    std::shared_ptr<const FileIndex> m_index;
    std::ifstream m_file;
};

StoreResult FileBackend::chunksAfter(std::int64_t firstUs, std::uint64_t sequence, std::int64_t mostFirstUs,
    std::int64_t leastLastUs, std::size_t most, std::vector<ChunkInfo>& chunks)
{
    const auto key = std::tuple(firstUs, sequence);
    auto place = std::upper_bound(
        m_index->byTime.begin(), m_index->byTime.end(), key, [this](const auto& wanted, std::uint64_t at) {
            return wanted < std::tuple(m_index->blocks[at].info.firstUs, at);
        });
    for (; place != m_index->byTime.end() && chunks.size() < most; ++place) {
        const ChunkInfo& info = m_index->blocks[*place].info;
        if (info.firstUs > mostFirstUs) {
            break;
        }
        if (info.lastUs >= leastLastUs) {
            chunks.push_back(info);
        }
    }
    return StoreResult::done();
}

StoreResult FileBackend::load(const ChunkInfo& chunk, std::string& packed)
{
    const Block& block = m_index->blocks[chunk.sequence];
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
    const auto after = std::upper_bound(m_index->states.begin(), m_index->states.end(), timeUs,
        [](std::int64_t wanted, const StoredState& stored) { return wanted < stored.timeUs; });
    found = after != m_index->states.begin();
    if (found) {
        state = *std::prev(after);
    }
    return StoreResult::done();
}

} // namespace

std::unique_ptr<RecordReader> openFileRecord(
    const std::filesystem::path& path, const Progress& progress, StoreResult& result)
{
    auto index = std::make_shared<FileIndex>();
    index->path = path;
    index->facts.uuid = path.string();
    index->facts.name = path.stem().string();
    index->facts.startUs = nowEpochUs();
    index->facts.origin = RecordOrigin::Imported;
    result = Scan(*index, progress).run();
    if (!result) {
        return nullptr;
    }
    RecordFacts facts = index->facts;
    std::vector<AgentDefinition> definitions = index->definitions;
    std::vector<OutputValue> initialValues = index->initialValues;
    return std::make_unique<ChunkedReader>(std::make_unique<FileBackend>(std::move(index)), std::move(facts),
        std::move(definitions), std::move(initialValues));
}

} // namespace recorder::csv
