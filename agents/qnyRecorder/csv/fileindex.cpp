// SPDX-License-Identifier: Apache-2.0
#include "fileindex.h"

#include "../chunk/packedchunk.h"
#include "../dates.h"
#include "facts.h"

#include <QString>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <tuple>
#include <utility>

namespace recorder::csv {

namespace {

constexpr std::size_t readBytes = 256 * 1024;
// After a row that cannot be read little is read at once: the next may be another one, and what is read is read again.
constexpr std::size_t carefulBytes = 4 * 1024;
constexpr std::uint64_t blockBytes = 64 * 1024;
constexpr std::uint64_t mostBlocks = 16 * 1024; // about: blocks are longer in longer files
// States kept in memory while the file is looked through: one each so many bytes of the file, and so many in all.
constexpr std::uint64_t stateIntervalBytes = 4 * 1024 * 1024;
constexpr std::uint64_t mostStatesBytes = 64 * 1024 * 1024;

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

} // namespace

FileIndex::FileIndex(std::filesystem::path path, BadRows badRows)
    : m_path(std::move(path))
    , m_badRows(badRows)
{
    begin();
}

// Forgets everything: also when the file has become shorter.
void FileIndex::begin()
{
    m_facts = RecordFacts();
    m_facts.uuid = m_path.string();
    // The name of a file may be any bytes, a record's is text.
    m_facts.name = QString::fromStdString(m_path.stem().string()).toStdString();
    m_facts.startUs = nowEpochUs();
    m_facts.origin = RecordOrigin::Imported;
    m_definitions.clear();
    m_initialValues.clear();
    m_definitionPlaces.clear();
    m_initialPlaces.clear();
    m_blocks.clear();
    m_byTime.clear();
    m_damages.clear();
    m_states.clear();
    m_extent = Extent();
    m_tally = Tally();
    m_block = Block();
    m_highUs = 0;
    m_sinceState = 0;
    m_statesBytes = 0;
    m_closedEnd = 0;
    m_reader = Reader();
    m_pieceBytes = readBytes;
    m_base = 0;
    m_fed = 0;
    m_size = 0;
    m_soundEnd = 0;
    m_isBad = false;
    m_hasRestarted = false;
}

StoreResult FileIndex::openFile()
{
    const auto failed = [this] {
        return StoreResult::failed(errno == ENOENT ? StoreError::NotFound : StoreError::Unreachable,
            "The file " + m_path.string() + " cannot be read (" + std::strerror(errno) + ").");
    };
    errno = 0;
    if (!m_file.is_open()) {
        // A pipe in its place would hold up whoever opens it, for ever.
        std::error_code error;
        const std::filesystem::file_status status = std::filesystem::status(m_path, error);
        if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
            return StoreResult::failed(
                StoreError::Unreachable, "The file " + m_path.string() + " cannot be read (it is no regular file).");
        }
        errno = 0;
        m_file.open(m_path, std::ios::binary);
        if (!m_file) {
            return failed();
        }
    }
    m_file.clear();
    const auto size = static_cast<std::streamoff>(m_file.seekg(0, std::ios::end).tellg());
    if (size < 0) {
        return failed();
    }
    m_size = static_cast<std::uint64_t>(size);
    if (m_size < m_fed) {
        const std::uint64_t now = m_size;
        begin();
        m_size = now;
    }
    return StoreResult::done();
}

// Hands the reader the next piece of the file. False when there is none.
bool FileIndex::feed()
{
    if (m_fed >= m_size) {
        return false;
    }
    m_piece.resize(std::min<std::uint64_t>(m_pieceBytes, m_size - m_fed));
    m_file.clear();
    m_file.seekg(static_cast<std::streamoff>(m_fed));
    m_file.read(m_piece.data(), static_cast<std::streamsize>(m_piece.size()));
    const auto count = static_cast<std::size_t>(m_file.gcount());
    m_reader.feed(std::string_view(m_piece.data(), count));
    m_fed += count;
    m_pieceBytes = std::min(readBytes, m_pieceBytes * 2);
    return count > 0;
}

StoreResult FileIndex::update(bool isGrowing, const Progress& progress)
{
    if (StoreResult result = openFile(); !result) {
        return result;
    }
    int percent = -1;
    for (bool isDone = false; !isDone;) {
        if (!feed()) {
            isDone = true;
            m_reader.lookAgain();
            if (!isGrowing && m_badRows == BadRows::Refuse) {
                m_reader.finish();
            }
        }
        if (StoreResult result = takeRows(); !result) {
            return result;
        }
        isDone = isDone && !std::exchange(m_hasRestarted, false);
        const std::uint64_t at = m_base + m_reader.offset();
        if (isDone && !isGrowing && m_badRows == BadRows::PassOver && at < m_size) {
            // A row without an end. When a later line can be read, a quote is missing somewhere in between.
            const std::uint64_t next = nextLineAfter(at);
            if (next < m_size) {
                const Error wrong { m_reader.line(), 0, "the row that begins here never ends; a quote may be missing" };
                noteBadRow(wrong.text(), at);
                restartAt(next, m_reader.line() + 1);
                isDone = !std::exchange(m_hasRestarted, false);
            }
        }
        const int now = m_size == 0 ? 100 : static_cast<int>(std::min<std::uint64_t>(100, at * 100 / m_size));
        if (progress && (now != percent || !isDone) && !progress(now)) {
            return StoreResult::failed(StoreError::Refused, "Reading " + m_path.string() + " was given up.");
        }
        percent = now;
    }
    return StoreResult::done();
}

// Takes every row that the reader can give now.
StoreResult FileIndex::takeRows()
{
    Entry entry;
    for (;;) {
        Error wrong;
        const Reader::Step step = m_reader.next(entry);
        if (step == Reader::Step::NeedMore || step == Reader::Step::End) {
            return StoreResult::done();
        }
        const std::uint64_t row = m_base + (step == Reader::Step::Row ? m_reader.rowOffset() : m_reader.offset());
        if (step == Reader::Step::Row) {
            if (m_isBad) {
                endBadRows(row);
            }
            std::string reason;
            if (take(entry, reason)) {
                m_soundEnd = m_base + m_reader.offset();
                continue;
            }
            wrong = { m_reader.rowLine(), 6, reason };
        } else {
            wrong = m_reader.error();
        }
        if (wrong.isNewerVersion) {
            return StoreResult::failed(StoreError::NewerVersion, m_path.string() + ", " + wrong.text() + '.');
        }
        if (m_badRows == BadRows::Refuse) {
            return StoreResult::failed(StoreError::Refused, m_path.string() + ", " + wrong.text() + '.');
        }
        // A row whose end is known is passed over as a whole, for a text in it may look like rows.
        if (wrong.isRowWhole || step == Reader::Step::Row) {
            noteBadRow(wrong.text(), m_base + m_reader.rowOffset());
            m_reader.passOver();
            continue;
        }
        const std::string begin = "line " + std::to_string(m_reader.line());
        noteBadRow(wrong.line == m_reader.line() ? wrong.text()
                                                 : begin + ": the row that begins here goes wrong at " + wrong.text(),
            row);
        restartAt(nextLineAfter(row), m_reader.line() + 1);
        return StoreResult::done();
    }
}

void FileIndex::restartAt(std::uint64_t offset, std::uint64_t line)
{
    Reader::Options options;
    options.firstLine = line;
    options.skipByteOrderMark = false;
    m_reader = Reader(options);
    m_base = offset;
    m_fed = offset;
    m_pieceBytes = carefulBytes;
    m_hasRestarted = true;
}

// The byte after the first line feed from `offset` on; the file's end when there is none.
std::uint64_t FileIndex::nextLineAfter(std::uint64_t offset)
{
    std::array<char, carefulBytes> bytes;
    m_file.clear();
    m_file.seekg(static_cast<std::streamoff>(offset));
    while (offset < m_size) {
        m_file.read(bytes.data(), static_cast<std::streamsize>(std::min<std::uint64_t>(bytes.size(), m_size - offset)));
        const std::string_view got(bytes.data(), static_cast<std::size_t>(m_file.gcount()));
        const std::size_t feed = got.find('\n');
        if (feed != std::string_view::npos) {
            return offset + feed + 1;
        }
        if (got.empty()) {
            break;
        }
        offset += got.size();
    }
    return m_size;
}

// ---- rows that cannot be read

void FileIndex::noteBadRow(const std::string& reason, std::uint64_t from)
{
    if (!m_isBad) {
        m_isBad = true;
        m_badFrom = from;
        m_badRowCount = 0;
        m_badReason = reason;
    }
    ++m_badRowCount;
}

// A row can be read again: what lies before it is a damage of its own.
void FileIndex::endBadRows(std::uint64_t end)
{
    endBlock(m_badFrom);
    m_isBad = false;
    Block damage;
    damage.info.sequence = m_extent.nextSequence;
    damage.info.firstUs = m_highUs;
    damage.info.lastUs = m_highUs;
    damage.info.count = m_badRowCount;
    damage.offset = m_badFrom;
    damage.end = end;
    ++m_extent.nextSequence;
    m_damages.emplace(damage.info.sequence, m_badReason);
    m_blocks.push_back(damage);
    insertByTime(damage.info.sequence);
    m_block = Block();
    m_block.info.sequence = m_extent.nextSequence;
}

const std::string* FileIndex::damageOf(std::uint64_t sequence) const
{
    const auto damage = m_damages.find(sequence);
    return damage == m_damages.end() ? nullptr : &damage->second;
}

// ---- rows

bool FileIndex::take(Entry& entry, std::string& reason)
{
    if (const Event* event = std::get_if<Event>(&entry)) {
        takeEvent(*event);
    } else if (const auto* definition = std::get_if<AgentDefinition>(&entry)) {
        put(m_definitions, m_definitionPlaces, definition->agent, *definition);
    } else if (const auto* initial = std::get_if<OutputValue>(&entry)) {
        put(m_initialValues, m_initialPlaces, initial->agent + '\0' + initial->output, *initial);
    } else if (const Fact* fact = std::get_if<Fact>(&entry)) {
        return takeFact(*fact, reason);
    }
    return true;
}

bool FileIndex::takeFact(const Fact& fact, std::string& reason)
{
    if (fact.name == "name") {
        m_facts.name = fact.value;
    } else if (fact.name == originFact) {
        m_facts.origin = fact.value == recordedOrigin ? RecordOrigin::Recorded : RecordOrigin::Imported;
    } else if (fact.name == closingFact) {
        m_closedEnd = m_base + m_reader.offset();
    }
    bool changed = false;
    return csv::takeFact(fact, m_facts, changed, reason);
}

void FileIndex::takeEvent(const Event& event)
{
    const std::uint64_t end = m_base + m_reader.offset();
    if (m_block.info.count > 0 && end - m_block.offset > std::max(blockBytes, m_size / mostBlocks)) {
        endBlock(m_base + m_reader.rowOffset());
    }
    ChunkInfo& info = m_block.info;
    if (info.count == 0) {
        m_block.offset = m_base + m_reader.rowOffset();
        m_block.line = m_reader.rowLine();
        info.firstUs = event.timeUs;
        info.lastUs = event.timeUs;
    }
    ++info.count;
    info.firstUs = std::min(info.firstUs, event.timeUs);
    info.lastUs = std::max(info.lastUs, event.timeUs);
    m_highUs = std::max(m_highUs, event.timeUs);
    Tally::Output& output = m_tally.output(event.agent, event.output);
    if (event.timeUs >= output.lastUs) {
        m_tally.remember(output, event.value);
    }
    Tally::count(output, event.timeUs);
}

void FileIndex::seal()
{
    endBlock(m_soundEnd);
}

void FileIndex::endBlock(std::uint64_t end)
{
    if (m_block.info.count == 0) {
        return;
    }
    m_block.end = end;
    const ChunkInfo& info = m_block.info;
    m_extent.maxSpanUs = std::max(m_extent.maxSpanUs, info.lastUs - info.firstUs);
    m_extent.maxLateUs = std::max(m_extent.maxLateUs, m_extent.highUs - info.firstUs);
    m_extent.highUs = std::max(m_extent.highUs, info.lastUs);
    m_extent.events += info.count;
    m_extent.nextSequence = info.sequence + 1;
    m_sinceState += m_block.end - m_block.offset;
    m_blocks.push_back(m_block);
    insertByTime(info.sequence);
    m_block = Block();
    m_block.info.sequence = m_extent.nextSequence;
    keepState();
}

void FileIndex::insertByTime(std::uint64_t sequence)
{
    const auto key = [this](std::uint64_t at) { return std::tuple(m_blocks[at].info.firstUs, at); };
    const auto place = std::upper_bound(m_byTime.begin(), m_byTime.end(), sequence,
        [&key](std::uint64_t left, std::uint64_t right) { return key(left) < key(right); });
    m_byTime.insert(place, sequence);
}

void FileIndex::keepState()
{
    const std::uint64_t bytes = m_tally.stateBytes();
    if (m_sinceState >= std::max(stateIntervalBytes, 8 * bytes) && m_statesBytes + bytes <= mostStatesBytes) {
        m_sinceState = 0;
        m_statesBytes += bytes;
        m_states.push_back({ m_extent.nextSequence, m_extent.highUs, m_tally.packState(m_extent.nextSequence) });
    }
}

// ---- what is known

RecordFacts FileIndex::facts() const
{
    RecordFacts facts = m_facts;
    facts.durationUs = std::max(facts.durationUs, m_highUs);
    facts.completeness = facts.origin == RecordOrigin::Recorded
        ? withMissing(facts.completeness, m_tally.completeness())
        : withClaim(facts.completeness, m_tally.completeness());
    return facts;
}

void FileIndex::blocksAfter(std::int64_t firstUs, std::uint64_t sequence, std::int64_t mostFirstUs,
    std::int64_t leastLastUs, std::size_t most, std::vector<ChunkInfo>& chunks) const
{
    const auto key = std::tuple(firstUs, sequence);
    auto place = std::upper_bound(m_byTime.begin(), m_byTime.end(), key,
        [this](const auto& wanted, std::uint64_t at) { return wanted < std::tuple(m_blocks[at].info.firstUs, at); });
    for (; place != m_byTime.end() && chunks.size() < most; ++place) {
        const ChunkInfo& info = m_blocks[*place].info;
        if (info.firstUs > mostFirstUs) {
            break;
        }
        if (info.lastUs >= leastLastUs) {
            chunks.push_back(info);
        }
    }
}

const StoredState* FileIndex::stateUpTo(std::int64_t timeUs) const
{
    const auto after = std::upper_bound(m_states.begin(), m_states.end(), timeUs,
        [](std::int64_t wanted, const StoredState& stored) { return wanted < stored.timeUs; });
    return after == m_states.begin() ? nullptr : &*std::prev(after);
}

} // namespace recorder::csv
