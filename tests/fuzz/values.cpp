// SPDX-License-Identifier: Apache-2.0
// Values of outputs and arguments of services: their bytes, and what they become as another type.
#include "fuzz.h"

#include "service_arguments.h"
#include "value.h"

#include <vector>

using namespace qny;

namespace {

void checkArgument(qny_value_type_t type, std::string_view bytes)
{
    qny_service_arg_t* list = nullptr;
    qny_service_arg_t** tail = &list;
    appendArgument(tail, type, bytes, "argument");
    appendArgument(tail, type, bytes, {});
    fuzz::expect(qny_service_args_count(list) == 2 && list->type == type && list->size == bytes.size(),
        "an argument is what came");
    if (type == QNY_STRING_T) {
        fuzz::expect(std::strlen(list->c) + 1 == bytes.size(), "a text ends where it says");
    }
    freeArguments(list);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::Input input(data, size);
    const int number = input.number<uint8_t>();
    const std::string_view bytes = input.rest();
    if (!isValueType(number)) {
        return 0;
    }
    const auto type = static_cast<qny_value_type_t>(number);
    if (bytesProblem(type, bytes)) {
        return 0;
    }
    Value same;
    fuzz::expect(readValue(type, bytes.data(), bytes.size(), same) == QNY_SUCCESS && same.bytes == bytes,
        "what may arrive may be sent");
    if (type != QNY_IMPULSE_T) {
        checkArgument(type, bytes);
    }
    for (int to = QNY_IMPULSE_T; to <= QNY_DATA_T; ++to) {
        const auto wanted = static_cast<qny_value_type_t>(to);
        const std::optional<Value> converted = convert(type, bytes, wanted);
        fuzz::expect(wanted != type || (converted && converted->bytes == bytes), "a value is itself");
        if (!converted) {
            continue;
        }
        fuzz::expect(converted->type == wanted && !bytesProblem(wanted, converted->bytes), "what comes out is sound");
        const bool keepsAll = type == QNY_BOOL_T || (type == QNY_INTEGER_T && wanted != QNY_BOOL_T);
        if (keepsAll && wanted != QNY_IMPULSE_T) {
            const std::optional<Value> back = convert(wanted, converted->bytes, type);
            fuzz::expect(back && back->bytes == bytes, "and comes back as it was");
        }
    }
    return 0;
}
