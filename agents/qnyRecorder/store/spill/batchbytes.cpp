// SPDX-License-Identifier: Apache-2.0
#include "batchbytes.h"

#include "../../chunk/bytes.h"
#include "../recordrow.h"

namespace recorder {

namespace {

constexpr unsigned hasFacts = 1;
constexpr unsigned hasCompleteness = 2;
constexpr unsigned listChanged = 4;
constexpr unsigned isLast = 8;

void putSigned(std::string& out, std::int64_t number)
{
    putVarint(out, zigzag(number));
}

std::int64_t takeSigned(Taker& taker)
{
    return unzigzag(taker.varint());
}

std::string takeText(Taker& taker)
{
    return std::string(taker.bytes());
}

void putExtent(std::string& out, const Extent& extent)
{
    putSigned(out, extent.durationUs);
    putVarint(out, extent.events);
    putVarint(out, extent.nextSequence);
    putSigned(out, extent.bucket);
    putSigned(out, extent.highUs);
    putSigned(out, extent.maxSpanUs);
    putSigned(out, extent.maxLateUs);
}

void takeExtent(Taker& taker, Extent& extent)
{
    extent.durationUs = takeSigned(taker);
    extent.events = taker.varint();
    extent.nextSequence = taker.varint();
    extent.bucket = static_cast<std::int32_t>(takeSigned(taker));
    extent.highUs = takeSigned(taker);
    extent.maxSpanUs = takeSigned(taker);
    extent.maxLateUs = takeSigned(taker);
}

void putFacts(std::string& out, const RecordFacts& facts)
{
    putBytes(out, facts.uuid);
    putBytes(out, facts.name);
    putBytes(out, facts.description);
    putSigned(out, facts.startUs);
    putSigned(out, facts.durationUs);
    out += facts.origin == RecordOrigin::Imported ? '\1' : '\0';
    putBytes(out, facts.completeness.toJson());
}

void takeFacts(Taker& taker, RecordFacts& facts)
{
    facts.uuid = takeText(taker);
    facts.name = takeText(taker);
    facts.description = takeText(taker);
    facts.startUs = takeSigned(taker);
    facts.durationUs = takeSigned(taker);
    facts.origin = taker.little<std::uint8_t>() == 1 ? RecordOrigin::Imported : RecordOrigin::Recorded;
    std::string reason;
    if (!Completeness::fromJson(taker.bytes(), facts.completeness, reason)) {
        taker.fail();
    }
}

// The count of a list, of which each entry takes a byte at least.
std::uint64_t takeCount(Taker& taker)
{
    const std::uint64_t count = taker.varint();
    if (count > taker.left()) {
        taker.fail();
        return 0;
    }
    return count;
}

void putInitial(std::string& out, const InitialRow& row)
{
    putVarint(out, row.ordinal);
    putBytes(out, row.initial.agent);
    putBytes(out, row.initial.output);
    putBytes(out, packInitial(row.initial));
}

void takeInitial(Taker& taker, InitialRow& row)
{
    row.ordinal = static_cast<std::uint32_t>(taker.varint());
    row.initial.agent = takeText(taker);
    row.initial.output = takeText(taker);
    if (!unpackInitial(takeText(taker), row.initial)) {
        taker.fail();
    }
}

void takeRows(Taker& taker, Batch& batch)
{
    for (std::uint64_t i = takeCount(taker); i > 0 && taker.isGood(); --i) {
        DefinitionRow& row = batch.definitions.emplace_back();
        row.ordinal = static_cast<std::uint32_t>(taker.varint());
        row.definition.agent = takeText(taker);
        row.definition.json = takeText(taker);
    }
    for (std::uint64_t i = takeCount(taker); i > 0 && taker.isGood(); --i) {
        takeInitial(taker, batch.initials.emplace_back());
    }
    for (std::uint64_t i = takeCount(taker); i > 0 && taker.isGood(); --i) {
        StoredState& state = batch.states.emplace_back();
        state.throughSequence = taker.varint();
        state.timeUs = takeSigned(taker);
        state.packed = takeText(taker);
    }
    for (std::uint64_t i = takeCount(taker); i > 0 && taker.isGood(); --i) {
        ChunkRow& row = batch.chunks.emplace_back();
        row.info.sequence = taker.varint();
        row.info.bucket = static_cast<std::int32_t>(takeSigned(taker));
        row.info.firstUs = takeSigned(taker);
        row.info.lastUs = takeSigned(taker);
        row.info.count = static_cast<std::uint32_t>(taker.varint());
        row.packed = takeText(taker);
    }
}

} // namespace

std::string packFacts(const RecordFacts& facts)
{
    std::string out;
    putFacts(out, facts);
    return out;
}

bool unpackFacts(std::string_view bytes, RecordFacts& facts)
{
    Taker taker(bytes);
    takeFacts(taker, facts);
    return taker.isGood() && taker.isAtEnd();
}

std::string packBatch(const Batch& batch)
{
    std::string out;
    const unsigned flags = (batch.facts ? hasFacts : 0U) | (batch.completeness ? hasCompleteness : 0U)
        | (batch.listChanged ? listChanged : 0U) | (batch.last ? isLast : 0U);
    out += static_cast<char>(flags);
    out += static_cast<char>(batch.recordState);
    putExtent(out, batch.extent);
    if (batch.facts) {
        putFacts(out, *batch.facts);
    }
    if (batch.completeness) {
        putBytes(out, *batch.completeness);
        putVarint(out, batch.completenessThrough);
    }
    putVarint(out, batch.definitions.size());
    for (const DefinitionRow& row : batch.definitions) {
        putVarint(out, row.ordinal);
        putBytes(out, row.definition.agent);
        putBytes(out, row.definition.json);
    }
    putVarint(out, batch.initials.size());
    for (const InitialRow& row : batch.initials) {
        putInitial(out, row);
    }
    putVarint(out, batch.states.size());
    for (const StoredState& state : batch.states) {
        putVarint(out, state.throughSequence);
        putSigned(out, state.timeUs);
        putBytes(out, state.packed);
    }
    putVarint(out, batch.chunks.size());
    for (const ChunkRow& row : batch.chunks) {
        putVarint(out, row.info.sequence);
        putSigned(out, row.info.bucket);
        putSigned(out, row.info.firstUs);
        putSigned(out, row.info.lastUs);
        putVarint(out, row.info.count);
        putBytes(out, row.packed);
    }
    return out;
}

bool unpackBatch(std::string_view bytes, Batch& batch)
{
    batch = Batch();
    Taker taker(bytes);
    const unsigned flags = taker.little<std::uint8_t>();
    const auto state = taker.little<std::uint8_t>();
    if (!taker.isGood() || flags >= 16 || state > 1) {
        return false;
    }
    batch.recordState = static_cast<RecordState>(state);
    batch.listChanged = (flags & listChanged) != 0;
    batch.last = (flags & isLast) != 0;
    takeExtent(taker, batch.extent);
    if (flags & hasFacts) {
        takeFacts(taker, batch.facts.emplace());
    }
    if (flags & hasCompleteness) {
        batch.completeness = takeText(taker);
        batch.completenessThrough = taker.varint();
    }
    takeRows(taker, batch);
    return taker.isGood() && taker.isAtEnd();
}

std::uint64_t eventsIn(const Batch& batch)
{
    std::uint64_t events = 0;
    for (const ChunkRow& row : batch.chunks) {
        events += row.info.count;
    }
    return events;
}

} // namespace recorder
