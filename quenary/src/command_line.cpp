// SPDX-License-Identifier: Apache-2.0
#include "command_line.h"

#include <string_view>

namespace qny {

namespace {

constexpr const char* mask = "********";

bool isLong(std::string_view option)
{
    return option.starts_with("--");
}

} // namespace

std::vector<std::string> maskCommandLine(
    const std::vector<std::string>& arguments, const std::vector<std::string>& maskedOptions)
{
    std::vector<std::string> shown;
    bool valueFollows = false;
    bool optionsEnded = false;
    for (const std::string& argument : arguments) {
        if (valueFollows) {
            shown.emplace_back(mask);
            valueFollows = false;
            continue;
        }
        std::string text = argument;
        for (const std::string& option : maskedOptions) {
            if (optionsEnded || option.empty()) {
                break;
            }
            if (argument == option) {
                valueFollows = true;
                break;
            }
            if (argument.starts_with(option + "=")) {
                text = option + "=" + mask;
                break;
            }
            // "-ax" is -a with the value x; "--passwordx" is another option.
            if (!isLong(option) && argument.starts_with(option) && !isLong(argument)) {
                text = option + mask;
                break;
            }
        }
        optionsEnded = optionsEnded || argument == "--";
        shown.push_back(std::move(text));
    }
    return shown;
}

} // namespace qny
