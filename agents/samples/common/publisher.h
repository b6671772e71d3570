// SPDX-License-Identifier: Apache-2.0
#ifndef SAMPLES_PUBLISHER_H
#define SAMPLES_PUBLISHER_H

#include "journal.h"

#include <cstdint>
#include <span>
#include <string>

namespace samples {

// Publishes on the process's default agent and journals what went out, under the same stamp and number.
// Outputs come into being with declare(). Used by the program's main thread only.
class Publisher
{
public:
    Publisher(std::string agentName, Journal& journal);

    void declare(const char* output, qny_value_type_t type);

    void impulse(const char* output);
    void boolean(const char* output, bool value);
    void integer(const char* output, std::int32_t value);
    void number(const char* output, double value);
    void text(const char* output, const std::string& value);
    void data(const char* output, std::span<const unsigned char> bytes);

private:
    void _publish(const char* output, qny_value_type_t type, const void* value, std::size_t size);

    std::string _agentName;
    Journal& _journal;
    std::int64_t _lastTimeUs = 0; // stamps never go back within one agent, even when the system's clock is set back
};

} // namespace samples

#endif
