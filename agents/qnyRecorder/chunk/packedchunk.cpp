// SPDX-License-Identifier: Apache-2.0
#include "packedchunk.h"

#include "../csv/utf8.h"
#include "bytes.h"
#include "checksum.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace recorder {

namespace {

constexpr std::string_view magic = "RRCH";
constexpr std::size_t checksumAt = 48;
// Three bytes of a chunk take some eighty when they are unpacked. No writer comes near it: a chunk is closed at 32 KiB,
// and a state of 64 MiB has no more outputs.
constexpr std::uint32_t mostEvents = 1U << 22;

// What is no text could go to no agent and into no file.
std::string_view takeText(Taker& taker)
{
    const std::string_view text = taker.bytes();
    if (!csv::isText(text)) {
        taker.fail();
    }
    return text;
}

ValueView takeValue(Taker& taker)
{
    const auto type = taker.little<std::uint8_t>();
    if (!taker.isGood() || !isValueType(type)) {
        taker.fail();
        return {};
    }
    switch (static_cast<ValueType>(type)) {
    case ValueType::Impulse:
        return ValueView::impulse();
    case ValueType::Bool: {
        const auto number = taker.little<std::uint8_t>();
        if (number > 1) {
            taker.fail();
        }
        return ValueView::fromBool(number == 1);
    }
    case ValueType::Integer: {
        const std::int64_t number = unzigzag(taker.varint());
        if (number < std::numeric_limits<std::int32_t>::min() || number > std::numeric_limits<std::int32_t>::max()) {
            taker.fail();
        }
        return ValueView::fromInteger(static_cast<std::int32_t>(number));
    }
    case ValueType::Double:
        return ValueView::fromDouble(std::bit_cast<double>(taker.little<std::uint64_t>()));
    case ValueType::String:
        return ValueView::fromString(takeText(taker));
    case ValueType::Data:
        return ValueView::fromData(taker.bytes());
    }
    return {};
}

struct OutputName
{
    std::string_view agent;
    std::string_view output;
};

bool unpackNames(Taker& taker, std::vector<std::string_view>& agents, std::vector<OutputName>& outputs)
{
    const std::uint64_t agentCount = taker.varint();
    if (agentCount > taker.left()) {
        return false;
    }
    for (std::uint64_t i = 0; i < agentCount && taker.isGood(); ++i) {
        agents.push_back(takeText(taker));
    }
    const std::uint64_t outputCount = taker.varint();
    if (!taker.isGood() || outputCount > taker.left()) {
        return false;
    }
    for (std::uint64_t i = 0; i < outputCount && taker.isGood(); ++i) {
        const std::uint64_t agent = taker.varint();
        if (agent >= agents.size()) {
            return false;
        }
        outputs.push_back({ agents[static_cast<std::size_t>(agent)], takeText(taker) });
    }
    return taker.isGood();
}

} // namespace

// ---- ChunkBuilder

void ChunkBuilder::clear()
{
    m_agents.clear();
    m_agentNames.clear();
    m_outputs.clear();
    m_events.clear();
    m_outputCount = 0;
    m_count = 0;
    m_previousUs = 0;
    m_firstUs = 0;
    m_lastUs = 0;
}

std::uint32_t ChunkBuilder::declare(std::string_view agent, std::string_view output)
{
    // Outputs of one agent mostly come one after another.
    auto known = std::find(m_agentNames.rbegin(), m_agentNames.rend(), agent);
    std::size_t index = 0;
    if (known == m_agentNames.rend()) {
        index = m_agentNames.size();
        m_agentNames.emplace_back(agent);
        putBytes(m_agents, agent);
    } else {
        index = static_cast<std::size_t>(m_agentNames.rend() - known) - 1;
    }
    putVarint(m_outputs, index);
    putBytes(m_outputs, output);
    return m_outputCount++;
}

std::size_t ChunkBuilder::add(std::uint32_t output, std::int64_t timeUs, const ValueView& value)
{
    if (m_count == 0) {
        m_firstUs = timeUs;
        m_lastUs = timeUs;
    } else {
        m_firstUs = std::min(m_firstUs, timeUs);
        m_lastUs = std::max(m_lastUs, timeUs);
    }
    ++m_count;
    // The difference may wrap round; it wraps back when read.
    putVarint(m_events,
        zigzag(
            static_cast<std::int64_t>(static_cast<std::uint64_t>(timeUs) - static_cast<std::uint64_t>(m_previousUs))));
    m_previousUs = timeUs;
    putVarint(m_events, output);
    const std::size_t offset = m_events.size();
    m_events += static_cast<char>(value.type);
    switch (value.type) {
    case ValueType::Impulse:
        break;
    case ValueType::Bool:
        m_events += value.boolean ? '\1' : '\0';
        break;
    case ValueType::Integer:
        putVarint(m_events, zigzag(value.integer));
        break;
    case ValueType::Double:
        putLittle(m_events, std::bit_cast<std::uint64_t>(value.real));
        break;
    case ValueType::String:
    case ValueType::Data:
        putBytes(m_events, value.bytes);
        break;
    }
    return offset;
}

ValueView ChunkBuilder::valueAt(std::size_t offset) const
{
    Taker taker(std::string_view(m_events).substr(offset));
    return takeValue(taker);
}

std::string ChunkBuilder::finish(ChunkKind kind, std::uint64_t sequence) const
{
    std::string packed;
    packed.reserve(bytes() + 20);
    packed += magic;
    putLittle(packed, packedChunkVersion);
    putLittle(packed, static_cast<std::uint8_t>(kind));
    putLittle(packed, std::uint8_t(0));
    putLittle(packed, sequence);
    putLittle(packed, m_firstUs);
    putLittle(packed, m_lastUs);
    putLittle(packed, m_count);
    putLittle(packed, static_cast<std::uint32_t>(m_agentNames.size()));
    putLittle(packed, m_outputCount);
    const std::size_t sizeAt = packed.size();
    packed.append(8, '\0');
    putVarint(packed, m_agentNames.size());
    packed += m_agents;
    putVarint(packed, m_outputCount);
    packed += m_outputs;
    packed += m_events;

    std::string field;
    putLittle(field, static_cast<std::uint32_t>(packed.size() - packedChunkHeaderBytes));
    packed.replace(sizeAt, field.size(), field);
    const std::string_view whole = packed;
    const std::uint32_t checksum = crc32c(whole.substr(packedChunkHeaderBytes), crc32c(whole.substr(0, checksumAt)));
    field.clear();
    putLittle(field, checksum);
    packed.replace(checksumAt, field.size(), field);
    return packed;
}

// ---- reading

bool readChunkHeader(std::string_view packed, ChunkHeader& header, std::string& reason)
{
    if (packed.size() < packedChunkHeaderBytes) {
        reason = "only " + std::to_string(packed.size()) + " bytes, less than a chunk's header";
        return false;
    }
    if (!packed.starts_with(magic)) {
        reason = "no chunk: it does not begin with " + std::string(magic);
        return false;
    }
    Taker taker(packed.substr(magic.size()));
    const auto version = taker.little<std::uint16_t>();
    if (version != packedChunkVersion) {
        reason = "a chunk of version " + std::to_string(version) + ", and only " + std::to_string(packedChunkVersion)
            + " is known";
        return false;
    }
    const auto kind = taker.little<std::uint8_t>();
    const auto packing = taker.little<std::uint8_t>();
    ChunkHeader result;
    result.sequence = taker.little<std::uint64_t>();
    result.firstUs = taker.little<std::int64_t>();
    result.lastUs = taker.little<std::int64_t>();
    result.count = taker.little<std::uint32_t>();
    taker.little<std::uint32_t>(); // agents and outputs: for readers of the header alone
    taker.little<std::uint32_t>();
    const auto size = taker.little<std::uint32_t>();
    const auto checksum = taker.little<std::uint32_t>();
    if (size != packed.size() - packedChunkHeaderBytes) {
        reason = "its length is " + std::to_string(packed.size() - packedChunkHeaderBytes) + " bytes instead of "
            + std::to_string(size);
        return false;
    }
    if (crc32c(packed.substr(packedChunkHeaderBytes), crc32c(packed.substr(0, checksumAt))) != checksum) {
        reason = "its checksum does not match";
        return false;
    }
    if ((kind != 1 && kind != 2) || packing != 0) {
        reason = "a kind of chunk that is not known";
        return false;
    }
    result.kind = static_cast<ChunkKind>(kind);
    header = result;
    return true;
}

bool unpackChunk(std::string_view packed, ChunkHeader& header, std::vector<EventView>& events, std::string& reason)
{
    events.clear();
    if (!readChunkHeader(packed, header, reason)) {
        return false;
    }
    Taker taker(packed.substr(packedChunkHeaderBytes));
    std::vector<std::string_view> agents;
    std::vector<OutputName> outputs;
    if (!unpackNames(taker, agents, outputs)) {
        reason = "its table of names is malformed";
        return false;
    }
    if (header.count > mostEvents) {
        reason = "it holds " + std::to_string(header.count) + " events, more than any recorder packs";
        return false;
    }
    // An event takes three bytes at least: a count beyond that is not believed.
    events.reserve(std::min<std::size_t>(header.count, taker.left() / 3 + 1));
    std::uint64_t timeUs = 0;
    for (std::uint32_t i = 0; i < header.count; ++i) {
        timeUs += static_cast<std::uint64_t>(unzigzag(taker.varint()));
        const std::uint64_t output = taker.varint();
        const ValueView value = takeValue(taker);
        const auto time = static_cast<std::int64_t>(timeUs);
        if (!taker.isGood() || output >= outputs.size() || time < 0 || time < header.firstUs || time > header.lastUs) {
            events.clear();
            reason = "event " + std::to_string(i + 1) + " of " + std::to_string(header.count) + " is malformed";
            return false;
        }
        const OutputName& name = outputs[static_cast<std::size_t>(output)];
        events.push_back({ time, name.agent, name.output, value });
    }
    if (!taker.isAtEnd()) {
        events.clear();
        reason = "bytes are left after the last event";
        return false;
    }
    return true;
}

std::vector<std::string> agentsOfChunk(std::string_view packed)
{
    ChunkHeader header;
    std::string reason;
    std::vector<std::string_view> agents;
    std::vector<OutputName> outputs;
    if (!readChunkHeader(packed, header, reason)) {
        return {};
    }
    Taker taker(packed.substr(packedChunkHeaderBytes));
    if (!unpackNames(taker, agents, outputs)) {
        return {};
    }
    return { agents.begin(), agents.end() };
}

} // namespace recorder
