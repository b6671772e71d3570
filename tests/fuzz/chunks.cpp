// SPDX-License-Identifier: Apache-2.0
// Packed chunks, as they come back from a store. Length and checksum are mended first, for no random bytes have the
// right ones; the first byte of the input says whether.
#include "fuzz.h"

#include "chunk/bytes.h"
#include "chunk/checksum.h"
#include "chunk/packedchunk.h"
#include "store/recordrow.h"

#include <map>
#include <utility>

using namespace recorder;

namespace {

constexpr std::size_t sizeAt = 44;
constexpr std::size_t checksumAt = 48;

void put(std::string& packed, std::size_t at, std::uint32_t number)
{
    std::string field;
    putLittle(field, number);
    packed.replace(at, field.size(), field);
}

void mend(std::string& packed)
{
    if (packed.size() < packedChunkHeaderBytes) {
        return;
    }
    put(packed, sizeAt, static_cast<std::uint32_t>(packed.size() - packedChunkHeaderBytes));
    const std::string_view whole = packed;
    put(packed, checksumAt, crc32c(whole.substr(packedChunkHeaderBytes), crc32c(whole.substr(0, checksumAt))));
}

std::string pack(const ChunkHeader& header, const std::vector<EventView>& events)
{
    ChunkBuilder builder;
    std::map<std::pair<std::string_view, std::string_view>, std::uint32_t> outputs;
    for (const EventView& event : events) {
        const auto [it, isNew] = outputs.try_emplace({ event.agent, event.output }, 0);
        if (isNew) {
            it->second = builder.declare(event.agent, event.output);
        }
        const std::size_t at = builder.add(it->second, event.timeUs, event.value);
        fuzz::expect(builder.valueAt(at) == event.value, "a value that was packed is there");
    }
    return builder.finish(header.kind, header.sequence);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::Input input(data, size);
    const bool isMended = input.number<uint8_t>() & 1;
    std::string packed(input.rest());
    if (isMended) {
        mend(packed);
    }
    ChunkHeader header;
    std::vector<EventView> events;
    std::string reason;
    OutputValue initial;
    const std::vector<std::string> agents = agentsOfChunk(packed);
    const bool isInitial = unpackInitial(packed, initial);
    if (!unpackChunk(packed, header, events, reason)) {
        fuzz::expect(events.empty() && !reason.empty() && !isInitial, "damage is told, and nothing is made of it");
        return 0;
    }
    fuzz::expect(events.size() == header.count, "a chunk holds as many events as it says");
    fuzz::expect(isInitial == (events.size() == 1), "one value is one event");
    fuzz::expect(agents.size() <= packed.size(), "names take bytes");
    for (const EventView& event : events) {
        fuzz::expect(event.timeUs >= header.firstUs && event.timeUs <= header.lastUs, "events lie within its times");
    }
    ChunkHeader second;
    std::vector<EventView> same;
    const std::string again = pack(header, events);
    fuzz::expect(unpackChunk(again, second, same, reason), "what is packed can be unpacked");
    fuzz::expect(second.kind == header.kind && second.sequence == header.sequence && same.size() == events.size(),
        "and is the same chunk");
    for (std::size_t i = 0; i < same.size(); ++i) {
        fuzz::expect(Event(same[i]) == Event(events[i]), "with the same events");
    }
    return 0;
}
