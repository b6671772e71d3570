// SPDX-License-Identifier: Apache-2.0
#include "recordingfilter.h"

#include "csv/utf8.h"

#include <algorithm>

namespace recorder {

namespace {

constexpr std::size_t mostAnswers = 100'000;

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\v\f";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

// How many bytes the UTF-8 character at the front has; 1 for bytes that begin none.
std::size_t characterLength(std::string_view text)
{
    std::size_t length = 1;
    while (length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) {
        ++length;
    }
    return length;
}

// Linear in practice: only the last star is ever taken up again.
bool matches(std::string_view pattern, std::string_view name)
{
    std::size_t p = 0;
    std::size_t n = 0;
    std::size_t star = std::string_view::npos;
    std::size_t starName = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            starName = n;
        } else if (p < pattern.size() && pattern[p] == '?') {
            ++p;
            n += characterLength(name.substr(n));
        } else if (p < pattern.size() && pattern[p] == name[n]) {
            ++p;
            ++n;
        } else if (star != std::string_view::npos) {
            p = star + 1;
            starName += characterLength(name.substr(starName));
            n = starName;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*') {
        ++p;
    }
    return p == pattern.size();
}

// Why no name could ever match this part of a rule; empty when one could.
std::string flaw(std::string_view part)
{
    for (const char c : part) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7f) {
            return "a control character, which no name holds";
        }
        if (c == '"' || c == '\\') {
            return std::string("the character ") + c + ", which no name holds";
        }
    }
    return {};
}

} // namespace

bool RecordingFilter::parse(std::string_view text, RecordingFilter& filter, std::string& reason)
{
    RecordingFilter result;
    int number = 0;
    const auto refuse = [&](const std::string& why) {
        reason = "line " + std::to_string(number) + ": " + why;
        return false;
    };
    if (text.starts_with(csv::byteOrderMark)) {
        text.remove_prefix(csv::byteOrderMark.size());
    }
    while (!text.empty()) {
        ++number;
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        line = trimmed(line.substr(0, line.find('#')));
        if (line.empty()) {
            continue;
        }
        Rule rule;
        if (line.front() == '-') {
            rule.includes = false;
            line = trimmed(line.substr(1));
            if (line.empty()) {
                return refuse("\"-\" must be followed by the agent to leave out");
            }
            if (line.front() == '-') {
                return refuse("one \"-\" is enough; no name begins with one");
            }
        }
        const std::size_t slash = line.find('/');
        const std::string_view agent = trimmed(line.substr(0, slash));
        if (agent.empty()) {
            return refuse("no agent before \"/\"; write * for every agent");
        }
        if (const std::string why = flaw(agent); !why.empty()) {
            return refuse("the agent holds " + why);
        }
        if (slash != std::string_view::npos) {
            const std::string_view output = trimmed(line.substr(slash + 1));
            if (output.empty()) {
                return refuse("no output after \"/\"; write * for every output, or the agent alone");
            }
            if (output.find('/') != std::string_view::npos) {
                return refuse("more than one \"/\"; a rule is agent or agent/output");
            }
            if (const std::string why = flaw(output); !why.empty()) {
                return refuse("the output holds " + why);
            }
            rule.output = output;
        }
        rule.agent = agent;
        result.m_rules.push_back(std::move(rule));
    }
    result.m_includesByDefault
        = std::none_of(result.m_rules.begin(), result.m_rules.end(), [](const Rule& rule) { return rule.includes; });
    filter = std::move(result);
    return true;
}

bool RecordingFilter::decide(std::string_view agent, std::string_view output) const
{
    for (auto rule = m_rules.rbegin(); rule != m_rules.rend(); ++rule) {
        if (matches(rule->agent, agent) && (rule->output.empty() || matches(rule->output, output))) {
            return rule->includes;
        }
    }
    return m_includesByDefault;
}

bool RecordingFilter::lets(std::string_view agent, std::string_view output) const
{
    if (m_rules.empty()) {
        return true;
    }
    auto byOutput = m_answers.find(agent);
    if (byOutput != m_answers.end()) {
        const auto known = byOutput->second.find(output);
        if (known != byOutput->second.end()) {
            return known->second;
        }
    }
    if (m_answersCount >= mostAnswers) {
        m_answers.clear();
        m_answersCount = 0;
        byOutput = m_answers.end();
    }
    if (byOutput == m_answers.end()) {
        byOutput = m_answers.emplace(std::string(agent), std::unordered_map<std::string, bool, Hash, std::equal_to<>>())
                       .first;
    }
    const bool answer = decide(agent, output);
    byOutput->second.emplace(std::string(output), answer);
    ++m_answersCount;
    return answer;
}

bool RecordingFilter::letsSomeOf(std::string_view agent) const
{
    // From the last rule up: an inclusion decides for at least one output; an exclusion of every output decides for
    // all.
    for (auto rule = m_rules.rbegin(); rule != m_rules.rend(); ++rule) {
        if (!matches(rule->agent, agent)) {
            continue;
        }
        if (rule->includes) {
            return true;
        }
        if (rule->output.empty() || rule->output.find_first_not_of('*') == std::string::npos) {
            return false;
        }
    }
    return m_includesByDefault;
}

} // namespace recorder
