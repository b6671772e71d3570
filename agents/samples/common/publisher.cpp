// SPDX-License-Identifier: Apache-2.0
#include "publisher.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace samples {

Publisher::Publisher(std::string agentName, Journal& journal)
    : _agentName(std::move(agentName))
    , _journal(journal)
{
}

void Publisher::declare(const char* output, qny_value_type_t type)
{
    if (qny_output_create(output, type, nullptr, 0) != QNY_SUCCESS) {
        throw std::runtime_error(std::string("cannot create the output \"") + output + "\": " + qny_last_error());
    }
}

void Publisher::impulse(const char* output)
{
    _publish(output, QNY_IMPULSE_T, nullptr, 0);
}

void Publisher::boolean(const char* output, bool value)
{
    _publish(output, QNY_BOOL_T, &value, sizeof(value));
}

void Publisher::integer(const char* output, std::int32_t value)
{
    _publish(output, QNY_INTEGER_T, &value, sizeof(value));
}

void Publisher::number(const char* output, double value)
{
    _publish(output, QNY_DOUBLE_T, &value, sizeof(value));
}

void Publisher::text(const char* output, const std::string& value)
{
    _publish(output, QNY_STRING_T, value.c_str(), value.size() + 1);
}

void Publisher::data(const char* output, std::span<const unsigned char> bytes)
{
    _publish(output, QNY_DATA_T, bytes.data(), bytes.size());
}

void Publisher::_publish(const char* output, qny_value_type_t type, const void* value, std::size_t size)
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    _lastTimeUs
        = std::max<std::int64_t>(_lastTimeUs, std::chrono::duration_cast<std::chrono::microseconds>(now).count());
    std::uint64_t sequence = 0;
    if (qny_output_publish(output, type, value, size, _lastTimeUs, &sequence) != QNY_SUCCESS) {
        throw std::runtime_error(std::string("cannot publish on \"") + output + "\": " + qny_last_error());
    }
    if (_journal.isOpen()) {
        _journal.write(journalLine(_agentName, output, sequence, _lastTimeUs, type, value, size));
    }
}

} // namespace samples
