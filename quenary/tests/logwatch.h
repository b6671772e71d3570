// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "peerprocess.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

namespace test {

// Everything from a level on that the library says in this process while it lives.
class LogWatch
{
public:
    explicit LogWatch(qny_log_level_t least = QNY_LOG_INFO)
        : m_least(least)
    {
        qny_log_set_handler(&LogWatch::take, this);
    }
    ~LogWatch() { qny_log_set_handler(nullptr, nullptr); }
    LogWatch(const LogWatch&) = delete;
    LogWatch& operator=(const LogWatch&) = delete;

    size_t count(const std::string& part)
    {
        const std::lock_guard lock(m_mutex);
        return static_cast<size_t>(std::ranges::count_if(
            m_lines, [&](const std::string& line) { return line.find(part) != std::string::npos; }));
    }
    bool hears(const std::string& part, Milliseconds within = 15s)
    {
        return eventually([&] { return count(part) > 0; }, within);
    }
    std::string all()
    {
        const std::lock_guard lock(m_mutex);
        std::string text;
        for (const std::string& line : m_lines) {
            text += line + "\n";
        }
        return text;
    }

private:
    static void take(qny_log_level_t level, const char* message, void* self)
    {
        auto* watch = static_cast<LogWatch*>(self);
        if (level >= watch->m_least) {
            const std::lock_guard lock(watch->m_mutex);
            watch->m_lines.emplace_back(message);
        }
    }
    const qny_log_level_t m_least;
    std::mutex m_mutex;
    std::vector<std::string> m_lines;
};

} // namespace test
