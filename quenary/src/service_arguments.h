// SPDX-License-Identifier: Apache-2.0
// Lists of service arguments.
#pragma once

#include "quenary.h"

#include <string_view>

namespace qny {

// Appends an argument made of its bytes on the wire, which must be sound (see bytesProblem).
void appendArgument(qny_service_arg_t**& tail, qny_value_type_t type, std::string_view bytes, std::string_view name);
void freeArguments(qny_service_arg_t* list);

} // namespace qny
