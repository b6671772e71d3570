// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace recorder {

// What is recorded. One rule a line: `agent` or `agent/output`, with `*` (any run of characters) and `?` (any one
// character); a leading `-` excludes; `#` starts a comment. The last rule that matches decides; what no rule matches is
// included unless some rule includes. Upper and lower case differ. A rule without output is about every output.
class RecordingFilter
{
public:
    // Lets everything through.
    RecordingFilter() = default;
    // False, with "line 2: …" in `reason`, when the text does not parse; `filter` is then left alone.
    static bool parse(std::string_view text, RecordingFilter& filter, std::string& reason);

    // Whether this output of this agent is recorded. Not thread-safe: answers are remembered, so that asking again
    // costs one look-up.
    bool lets(std::string_view agent, std::string_view output) const;
    // Whether some output of this agent could be recorded: others need not be listened to.
    bool letsSomeOf(std::string_view agent) const;

private:
    struct Rule
    {
        std::string agent;
        std::string output; // empty: every one
        bool includes = true;
    };
    struct Hash
    {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
    };

    bool decide(std::string_view agent, std::string_view output) const;

    std::vector<Rule> m_rules;
    bool m_includesByDefault = true;
    // By agent, then output. Bounded: emptied when names without end come by.
    mutable std::unordered_map<std::string, std::unordered_map<std::string, bool, Hash, std::equal_to<>>, Hash,
        std::equal_to<>>
        m_answers;
    mutable std::size_t m_answersCount = 0;
};

} // namespace recorder
