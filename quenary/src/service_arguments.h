// SPDX-License-Identifier: Apache-2.0
// Lists of service arguments.
#pragma once

#include "quenary.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace qny {

// Appends an argument made of its bytes on the wire, which must be sound (see bytesProblem).
void appendArgument(qny_service_arg_t**& tail, qny_value_type_t type, std::string_view bytes, std::string_view name);
void freeArguments(qny_service_arg_t* list);

// The arguments of a call that came: texts and data lie where the message lies, which must outlive this.
class ReceivedArguments
{
public:
    explicit ReceivedArguments(size_t count);
    ReceivedArguments(const ReceivedArguments&) = delete;
    ReceivedArguments& operator=(const ReceivedArguments&) = delete;

    // The next one, of its bytes on the wire, which must be sound (see bytesProblem). Not more than there was room for.
    void add(qny_value_type_t type, std::string_view bytes, std::string_view name);
    // Null when there is none.
    qny_service_arg_t* first();

private:
    std::array<qny_service_arg_t, 4> m_few {};
    std::vector<qny_service_arg_t> m_many;
    qny_service_arg_t* const m_arguments;
    size_t m_count = 0;
    std::string m_names; // each with its zero byte
};

} // namespace qny
