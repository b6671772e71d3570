// SPDX-License-Identifier: Apache-2.0
#include "tally.h"

#include <algorithm>
#include <tuple>

namespace recorder {

namespace {

std::vector<const Tally::Output*> sorted(const std::deque<Tally::Output>& outputs)
{
    std::vector<const Tally::Output*> order;
    order.reserve(outputs.size());
    for (const Tally::Output& output : outputs) {
        order.push_back(&output);
    }
    std::sort(order.begin(), order.end(), [](const Tally::Output* left, const Tally::Output* right) {
        return std::tie(left->counts.agent, left->counts.output) < std::tie(right->counts.agent, right->counts.output);
    });
    return order;
}

// A number for two places in memory, spread over its upper bits and brought down.
std::size_t placeOf(std::string_view agent, std::string_view name)
{
    const auto first = reinterpret_cast<std::uintptr_t>(agent.data());
    const auto second = reinterpret_cast<std::uintptr_t>(name.data());
    return static_cast<std::size_t>(((first * 31 + second) * 0x9E3779B97F4A7C15U) >> 48);
}

} // namespace

void joinName(std::string& key, std::string_view agent, std::string_view output)
{
    key.assign(agent);
    key += '\0';
    key += output;
}

Tally::Output& Tally::output(std::string_view agent, std::string_view name)
{
    const std::size_t place = placeOf(agent, name);
    Recent& recent = m_recent[place % m_recent.size()];
    if (recent.agent == agent.data() && recent.name == name.data() && recent.output
        && recent.output->counts.output == name && recent.output->counts.agent == agent) {
        return *recent.output;
    }
    joinName(m_key, agent, name);
    Output*& output = m_byName[m_key];
    if (!output) {
        output = &m_outputs.emplace_back();
        output->counts.agent = agent;
        output->counts.output = name;
        m_stateBytes += agent.size() + name.size() + 16;
    }
    recent = { agent.data(), name.data(), output };
    return *output;
}

void Tally::count(Output& output, std::int64_t timeUs)
{
    OutputCompleteness& counts = output.counts;
    if (output.lastUs >= 0 && timeUs - output.lastUs > counts.longestGapUs) {
        counts.longestGapUs = timeUs - output.lastUs;
    }
    ++counts.stored;
    output.lastUs = std::max(output.lastUs, timeUs);
}

void Tally::countLost(std::string_view agent, std::string_view name, LostIn where, std::uint64_t events)
{
    OutputCompleteness& counts = output(agent, name).counts;
    switch (where) {
    case LostIn::Network:
        counts.lostNetwork += events;
        break;
    case LostIn::Queue:
        counts.lostQueue += events;
        break;
    case LostIn::Store:
        counts.lostStore += events;
        break;
    }
}

void Tally::remember(Output& output, const ValueView& value)
{
    m_stateBytes += value.bytes.size();
    m_stateBytes -= output.last.view().bytes.size();
    output.last = value;
}

bool Tally::addChunk(std::string_view packed, bool countsToo, std::string& reason)
{
    ChunkHeader header;
    std::vector<EventView> events;
    if (!unpackChunk(packed, header, events, reason)) {
        return false;
    }
    for (const EventView& event : events) {
        Output& entry = output(event.agent, event.output);
        if (event.timeUs >= entry.lastUs) {
            remember(entry, event.value);
        }
        if (countsToo) {
            count(entry, event.timeUs);
        } else {
            entry.lastUs = std::max(entry.lastUs, event.timeUs);
        }
    }
    return true;
}

void Tally::touch(Output& output)
{
    if (output.round != m_round) {
        output.round = m_round;
        m_before.push_back(
            { &output, output.counts.stored, output.counts.longestGapUs, output.lastUs, Value(output.last) });
    }
}

void Tally::settle()
{
    m_before.clear();
    ++m_round;
}

void Tally::loseRound()
{
    for (const Before& before : m_before) {
        Output& output = *before.output;
        output.counts.lostStore += output.counts.stored - before.stored;
        output.counts.stored = before.stored;
        output.counts.longestGapUs = before.longestGapUs;
        output.lastUs = before.lastUs;
        remember(output, before.last);
    }
    settle();
}

void Tally::restoreCounts(const Completeness& completeness)
{
    for (const OutputCompleteness& counts : completeness.outputs) {
        output(counts.agent, counts.output).counts = counts;
    }
    m_remarks = completeness.remarks;
}

bool Tally::restoreState(std::string_view packed, std::string& reason)
{
    ChunkHeader header;
    std::vector<EventView> events;
    if (!unpackChunk(packed, header, events, reason)) {
        return false;
    }
    for (const EventView& event : events) {
        Output& entry = output(event.agent, event.output);
        entry.lastUs = event.timeUs;
        remember(entry, event.value);
    }
    return true;
}

Completeness Tally::completeness() const
{
    Completeness result;
    result.remarks = m_remarks;
    for (const Output* output : sorted(m_outputs)) {
        result.outputs.push_back(output->counts);
    }
    return result;
}

std::string Tally::packState(std::uint64_t throughSequence) const
{
    ChunkBuilder builder;
    for (const Output* output : sorted(m_outputs)) {
        if (output->lastUs >= 0) {
            builder.add(builder.declare(output->counts.agent, output->counts.output), output->lastUs, output->last);
        }
    }
    return builder.finish(ChunkKind::State, throughSequence);
}

namespace {

// What was said of the outputs, with the numbers that were counted. `missing` are events said to be stored that are not
// there.
Completeness merged(const Completeness& said, const Completeness& counted, bool missingAreLost, std::uint64_t& missing)
{
    // Both lists are sorted in the same way: merged in one pass.
    const auto before = [](const OutputCompleteness& left, const OutputCompleteness& right) {
        return std::tie(left.agent, left.output) < std::tie(right.agent, right.output);
    };
    Completeness result;
    result.remarks = said.remarks;
    missing = 0;
    auto came = counted.outputs.begin();
    for (const OutputCompleteness& claim : said.outputs) {
        for (; came != counted.outputs.end() && before(*came, claim); ++came) {
            result.outputs.push_back(*came);
        }
        OutputCompleteness both = claim;
        const bool here = came != counted.outputs.end() && !before(claim, *came);
        const std::uint64_t stored = here ? came->stored : 0;
        if (stored != claim.stored) {
            const std::uint64_t less = claim.stored > stored ? claim.stored - stored : 0;
            missing += less;
            both.stored = stored;
            both.longestGapUs = here ? came->longestGapUs : 0;
            both.lostStore += missingAreLost ? less : 0;
        }
        if (here) {
            both.lostStore += came->lostStore;
            ++came;
        }
        result.outputs.push_back(std::move(both));
    }
    result.outputs.insert(result.outputs.end(), came, counted.outputs.end());
    return result;
}

void addRemarks(std::vector<std::string>& remarks, const std::vector<std::string>& more)
{
    for (const std::string& sentence : more) {
        if (std::find(remarks.begin(), remarks.end(), sentence) == remarks.end()) {
            remarks.push_back(sentence);
        }
    }
}

} // namespace

Completeness withClaim(const Completeness& claimed, const Completeness& counted)
{
    if (claimed.outputs.empty() && claimed.remarks.empty()) {
        return counted;
    }
    std::uint64_t missing = 0;
    Completeness result = merged(claimed, counted, false, missing);
    if (missing > 0) {
        result.remarks.push_back("Imported in part: " + std::to_string(missing) + " of "
            + std::to_string(claimed.stored()) + " events did not come.");
    }
    addRemarks(result.remarks, counted.remarks);
    return result;
}

Completeness withMissing(const Completeness& said, const Completeness& counted)
{
    std::uint64_t missing = 0;
    Completeness result = merged(said, counted, true, missing);
    addRemarks(result.remarks, counted.remarks);
    return result;
}

void Tally::remark(std::string_view sentence)
{
    if (std::find(m_remarks.begin(), m_remarks.end(), sentence) == m_remarks.end()) {
        m_remarks.emplace_back(sentence);
    }
}

} // namespace recorder
