// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_SOAK_VISITOR_H
#define TESTS_SOAK_VISITOR_H

#include "crowdjournal.h"

#include <quenary.h>

namespace soak {

// An agent of this process that comes, publishes numbers and goes.
class Visitor
{
public:
    Visitor(CrowdJournal& journal, std::string name, const std::string& family, std::int32_t life);
    ~Visitor();
    Visitor(const Visitor&) = delete;
    Visitor& operator=(const Visitor&) = delete;

    const std::string& name() const { return _name; }
    // One number on each output: first all that publish at a moment write it down, then they publish.
    void noteNext(std::int64_t timeUs);
    void publishNext();

private:
    CrowdJournal& _journal;
    std::string _name;
    qny_agent_t* _agent;
    std::int32_t _number;
    std::int64_t _timeUs = 0;
};

} // namespace soak

#endif
