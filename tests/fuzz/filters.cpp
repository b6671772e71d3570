// SPDX-License-Identifier: Apache-2.0
// Filters of what is recorded, as hosts send them: the rules, then names that are held against them.
#include "fuzz.h"

#include "csv/utf8.h"
#include "filters/recordingfilter.h"

using namespace recorder;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::Input input(data, size);
    const std::string_view agent = input.text8();
    const std::string_view output = input.text8();
    const std::string_view rules = input.rest();
    RecordingFilter filter;
    std::string reason;
    if (!RecordingFilter::parse(rules, filter, reason)) {
        fuzz::expect(reason.starts_with("line ") && csv::isUtf8(reason), "what is wrong names its line");
        return 0;
    }
    const bool lets = filter.lets(agent, output);
    fuzz::expect(lets == filter.lets(agent, output), "a filter remembers what it said");
    fuzz::expect(lets == filter.decide(agent, output), "and it is what the rules say");
    fuzz::expect(!lets || filter.letsSomeOf(agent), "who has an output that is recorded is listened to");
    RecordingFilter again;
    fuzz::expect(RecordingFilter::parse(rules, again, reason) && again.lets(agent, output) == lets,
        "the same rules say the same");
    // A rule more about everything decides everything.
    const std::string all = std::string(rules) + "\n*\n";
    fuzz::expect(RecordingFilter::parse(all, again, reason) && again.lets(agent, output), "the last rule decides");
    return 0;
}
