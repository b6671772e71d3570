// SPDX-License-Identifier: Apache-2.0
// Launch lines: what agents tell of how they were started, and what a person writes. Two of them, with a zero byte
// between.
#include "fuzz.h"

#include "corvaneutils.h"
#include "splitcommandline.h"

#include <algorithm>

namespace {

void checkJoining(const QStringList& parts)
{
    if (!parts.isEmpty()) {
        const QString joined = CorvaneUtils::joinCommand(parts.constFirst(), parts.mid(1));
        fuzz::expect(SplitCommandLine(joined).parts() == parts, "a line that is joined splits into the same parts");
    }
}

// As the page of a recorder's settings writes an option into its launch line.
void checkOption(const QString& line, const QString& value)
{
    const QString option = QStringLiteral("--name");
    const QString letter = QStringLiteral("-n");
    const QStringList& withValue = CorvaneUtils::recorderOptionsWithValue();
    const auto read = [&](const QString& from) { return CorvaneUtils::optionValue(from, option, letter, withValue); };
    const auto write = [&](const QString& into, const QString& what) {
        return CorvaneUtils::updateCommandLineWithArgumentOptionFor(into, option, letter, what, withValue);
    };
    const QString set = write(line, value);
    fuzz::expect(read(set) == value, "an option that is set has its value");
    fuzz::expect(write(set, value) == set, "to set it once more changes nothing");
    const QString removed = write(set, QString());
    fuzz::expect(read(removed).isEmpty() && write(removed, QString()) == removed, "an option that is removed is gone");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string_view text = fuzz::text(data, size);
    const size_t middle = std::min(text.find('\0'), text.size());
    const auto toText
        = [](std::string_view part) { return QString::fromUtf8(part.data(), static_cast<qsizetype>(part.size())); };
    const QStringList lines { toText(text.substr(0, middle)), toText(text.substr(std::min(middle + 1, text.size()))) };
    const SplitCommandLine first(lines.at(0));
    const SplitCommandLine second(lines.at(1));
    fuzz::expect(first.isSameAs(first) && first.launchesSameAs(first), "a line is the same as itself");
    fuzz::expect(first.isSameAs(second) == second.isSameAs(first), "sameness has no direction");
    fuzz::expect(first.launchesSameAs(second) == second.launchesSameAs(first), "nor has launching the same");
    fuzz::expect(!first.isSameAs(second) || first.launchesSameAs(second), "the same line launches the same");
    fuzz::expect(first.isEmpty() == first.parts().isEmpty(), "a line without a program is empty");

    for (const SplitCommandLine* line : { &first, &second }) {
        checkJoining(line->parts());
    }
    if (!first.isEmpty() && !second.isEmpty()) {
        checkOption(lines.at(0), second.parts().constFirst());
    }
    return 0;
}
