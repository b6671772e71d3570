// SPDX-License-Identifier: Apache-2.0
#include "crowdjournal.h"

#include <chrono>

#include <fcntl.h>
#include <unistd.h>

namespace soak {

std::int64_t nowUs()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

bool CrowdJournal::open(const std::string& path)
{
    _file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    return _file >= 0;
}

void CrowdJournal::add(const std::string& agent, const char* what, std::int32_t number, std::int64_t timeUs)
{
    _rows += agent + ';' + what + ';' + std::to_string(number) + ';' + std::to_string(timeUs) + '\n';
}

bool CrowdJournal::write()
{
    if (_rows.empty()) {
        return true;
    }
    // In a line of its own, whatever somebody who was killed as he wrote has left.
    const std::string rows = '\n' + _rows;
    _rows.clear();
    return ::write(_file, rows.data(), rows.size()) == static_cast<ssize_t>(rows.size());
}

} // namespace soak
