// SPDX-License-Identifier: Apache-2.0
#include "visitor.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace soak {

namespace {

constexpr char COUNT[] = "count";
constexpr char NOTE[] = "note";

void check(qny_result_t result)
{
    if (result != QNY_SUCCESS) {
        std::fprintf(stderr, "qnyTestCrowd: %s\n", qny_last_error());
        std::_Exit(1);
    }
}

} // namespace

Visitor::Visitor(CrowdJournal& journal, std::string name, const std::string& family, std::int32_t life)
    : _journal(journal)
    , _name(std::move(name))
    , _agent(nullptr)
    , _number(life * NUMBERS_OF_A_LIFE)
{
    const qny_agent_options_t options { family.empty() ? nullptr : family.c_str(), false };
    _agent = qny_agent_new(_name.c_str(), &options);
    check(_agent == nullptr ? QNY_ERROR_NAME : QNY_SUCCESS);
    check(qny_agent_output_create(_agent, COUNT, QNY_INTEGER_T, nullptr, 0));
    check(qny_agent_output_create(_agent, NOTE, QNY_STRING_T, nullptr, 0));
    _journal.add(_name, JOINED, _number + 1, nowUs());
    _journal.write();
    check(qny_agent_activate(_agent));
}

Visitor::~Visitor()
{
    _journal.add(_name, LEFT, _number + 1, nowUs());
    _journal.write();
    check(qny_agent_destroy(_agent));
}

void Visitor::noteNext(std::int64_t timeUs)
{
    ++_number;
    _timeUs = timeUs;
    _journal.add(_name, COUNT, _number, timeUs);
    _journal.add(_name, NOTE, _number, timeUs);
}

void Visitor::publishNext()
{
    check(qny_agent_output_publish(_agent, COUNT, QNY_INTEGER_T, &_number, sizeof _number, _timeUs, nullptr));
    // Of many lengths, so that memory is asked for in many sizes.
    const std::string note = std::to_string(_number) + ' ' + std::string(static_cast<std::size_t>(_number % 300), 'x');
    check(qny_agent_output_publish(_agent, NOTE, QNY_STRING_T, note.c_str(), note.size() + 1, _timeUs, nullptr));
}

} // namespace soak
