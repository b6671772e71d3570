// SPDX-License-Identifier: Apache-2.0
#ifndef SAMPLES_OPTIONS_H
#define SAMPLES_OPTIONS_H

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace samples {

// What distinguishes one sample program's command line from another's.
struct ProgramInfo
{
    std::string program; // "qnySamplePump"
    std::string purpose; // one sentence for --help
    std::string defaultName; // of the agent; may hold %1, replaced by the value of `namedBy` in upper case
    std::string namedBy; // the own option that %1 stands for, or empty
    struct Option
    {
        std::string name; // without dashes
        std::string argument; // what --help calls its value; "a|b" lets only "a" and "b" be one
        std::string help;
        std::string defaultValue;
    };
    std::vector<Option> ownOptions; // each takes a value
};

struct Options
{
    std::string name; // valid as an agent's name
    std::string device; // empty: left to the library (QNY_DEVICE, then its default); so are the next four
    std::uint16_t port = 0;
    std::string peers;
    std::string privateCertificate;
    std::string publicCertificates;
    std::uint64_t seed = 1;
    std::string journal; // file path; empty: no journal
    std::map<std::string, std::string> own; // every own option, given or by default
};

// The program has said what it had to say and ends: --help and --version with status 0 (text for standard output), a
// wrong option with status 2 (one line for standard error).
struct ParseEnd
{
    int status = 0;
    std::string text;
};

// Takes "--option value" and "--option=value"; the last of several wins.
std::variant<Options, ParseEnd> parseOptions(const ProgramInfo& info, const std::vector<std::string>& arguments);

std::string helpText(const ProgramInfo& info);

} // namespace samples

#endif
