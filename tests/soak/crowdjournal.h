// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_SOAK_CROWDJOURNAL_H
#define TESTS_SOAK_CROWDJOURNAL_H

#include <cstdint>
#include <string>

namespace soak {

// Microseconds since 1970 UTC.
std::int64_t nowUs();

// Where the crowd writes down what it does, for whoever judges records by it: agent;what;number;time_us. What is the
// name of an output and the number that was published there, or one of the moments below and the number of the first
// publication that can follow. Several processes append to one file, and a row is in it as soon as it is written, also
// when its writer is killed then. Of one that is killed as it writes half a row may stay, and empty lines say nothing.
class CrowdJournal
{
public:
    // False when the file cannot be opened.
    bool open(const std::string& path);
    void add(const std::string& agent, const char* what, std::int32_t number, std::int64_t timeUs);
    // What was added; false when it could not be written.
    bool write();

private:
    int _file = -1;
    std::string _rows;
};

inline constexpr char JOINED[] = "+";
inline constexpr char LEFT[] = "-";
inline constexpr char KILLED[] = "!";
inline constexpr char FROZEN[] = "(";
inline constexpr char THAWED[] = ")";

// Numbers of one life of a name stay below those of the next.
inline constexpr std::int32_t NUMBERS_OF_A_LIFE = 1'000'000;

} // namespace soak

#endif
