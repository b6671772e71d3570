// SPDX-License-Identifier: Apache-2.0
#include "processfigures.h"

#include <cstdlib>
#include <fstream>
#include <string>
#include <unistd.h>

namespace recorder::bench {

double processorSeconds(std::int64_t processId)
{
    std::ifstream file("/proc/" + std::to_string(processId) + "/stat");
    std::string text;
    std::getline(file, text);
    // Behind the program's name in brackets: the 12th and 13th words are ticks in its own code and in the system's.
    std::size_t at = text.rfind(')');
    double ticks = 0;
    for (int word = 1; word <= 13 && at != std::string::npos; ++word) {
        at = text.find(' ', at + 1);
        if (word >= 12 && at != std::string::npos) {
            ticks += std::atof(text.c_str() + at);
        }
    }
    return ticks / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

namespace {

long statusKiB(std::int64_t processId, const std::string& name)
{
    std::ifstream status("/proc/" + std::to_string(processId) + "/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.starts_with(name)) {
            return std::atol(line.c_str() + name.size());
        }
    }
    return 0;
}

} // namespace

long memoryKiB(std::int64_t processId)
{
    return statusKiB(processId, "VmRSS:");
}

long peakKiB(std::int64_t processId)
{
    return statusKiB(processId, "VmHWM:");
}

void forgetPeak(std::int64_t processId)
{
    std::ofstream("/proc/" + std::to_string(processId) + "/clear_refs") << "5";
}

} // namespace recorder::bench
