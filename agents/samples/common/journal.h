// SPDX-License-Identifier: Apache-2.0
#ifndef SAMPLES_JOURNAL_H
#define SAMPLES_JOURNAL_H

#include <quenary.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace samples {

// One line a publication: agent;output;sequence;time_us;type;value
//   agent, output, value   quoted with " when they hold ; " CR or LF or when a string is empty, inner quotes doubled
//   sequence               the publication's number, as the library gave it
//   time_us                the stamp sent along, microseconds since 1970 UTC
//   type                   impulse, bool, integer, double, string, data
//   value                  nothing for an impulse; true or false; the shortest digits that read back as the same
//   double, or
//                          nan, inf, -inf; base64 for data
// A quoted string may hold line ends, so that one publication can take more than one line of text.
std::string journalLine(std::string_view agent, std::string_view output, std::uint64_t sequence, std::int64_t timeUs,
    qny_value_type_t type, const void* value, std::size_t size);

// A field as the journal and the record files write it.
std::string quoted(std::string_view field);
std::string encodedValue(qny_value_type_t type, const void* value, std::size_t size);

// The file; used by one thread. What was written since the last flush() may not be readable yet.
class Journal
{
public:
    Journal() = default;
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    // Opens for appending. False with the system's reason in *error.
    bool open(const std::string& path, std::string* error);
    bool isOpen() const { return _file != nullptr; }
    void write(const std::string& line);
    // False from the moment on when something could not be written (a full disk, say).
    bool flush();

private:
    std::FILE* _file = nullptr;
    bool _isFailed = false;
};

} // namespace samples

#endif
