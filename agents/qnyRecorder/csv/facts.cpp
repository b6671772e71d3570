// SPDX-License-Identifier: Apache-2.0
#include "facts.h"

#include "../dates.h"

#include <charconv>

namespace recorder::csv {

bool takeFact(const Fact& fact, RecordFacts& facts, bool& changed, std::string& reason)
{
    if (fact.name == "start_date") {
        if (!fromDateText(fact.value, facts.startUs)) {
            reason = shown(fact.value) + " is no date such as 2026-01-31T09:30:00.000000Z";
            return false;
        }
    } else if (fact.name == "duration_us") {
        std::int64_t duration = 0;
        const char* end = fact.value.data() + fact.value.size();
        const auto parsed = std::from_chars(fact.value.data(), end, duration);
        if (parsed.ec != std::errc() || parsed.ptr != end || duration < 0) {
            reason = shown(fact.value) + " is not a whole number of microseconds, 0 or more";
            return false;
        }
        facts.durationUs = duration;
    } else if (fact.name == "description") {
        facts.description = fact.value;
    } else if (fact.name == "completeness") {
        if (!Completeness::fromJson(fact.value, facts.completeness, reason)) {
            return false;
        }
    } else {
        return true;
    }
    changed = true;
    return true;
}

std::vector<std::string> headerRows(const RecordFacts& facts, const std::vector<AgentDefinition>& definitions,
    const std::vector<OutputValue>& initialValues)
{
    std::vector<std::string> rows;
    rows.reserve(6 + definitions.size() + initialValues.size());
    appendFact(rows.emplace_back(), "version", std::int64_t(formatVersion));
    appendFact(rows.emplace_back(), "name", facts.name);
    appendFact(rows.emplace_back(), "start_date", toCsvDate(facts.startUs));
    appendFact(rows.emplace_back(), "duration_us", facts.durationUs);
    appendFact(rows.emplace_back(), "description", facts.description);
    appendFact(rows.emplace_back(), "completeness", facts.completeness.toJson());
    for (const AgentDefinition& definition : definitions) {
        appendDefinition(rows.emplace_back(), 0, definition.agent, definition.json);
    }
    for (const OutputValue& initial : initialValues) {
        appendInitial(rows.emplace_back(), 0, initial.agent, initial.output, initial.value);
    }
    return rows;
}

} // namespace recorder::csv
