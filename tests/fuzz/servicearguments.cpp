// SPDX-License-Identifier: Apache-2.0
// Calls of the recorder's services, as the network library hands them out. The first byte of
// the input chooses the service; each argument is a byte of type, and its bytes behind two of length.
#include "fuzz.h"
#include "quiet.h"

#include "network/network.h"
#include "service_arguments.h"
#include "value.h"

using namespace recorder;

namespace {

struct List
{
    qny_service_arg_t* first = nullptr;
    size_t count = 0;
    ~List() { qny::freeArguments(first); }
};

void fill(List& list, fuzz::Input& input)
{
    qny_service_arg_t** tail = &list.first;
    while (!input.isEmpty() && list.count < 300) {
        const auto number = input.number<uint8_t>();
        const std::string_view bytes = input.text16();
        const auto type = static_cast<qny_value_type_t>(1 + number % 6);
        // The library lets nothing else through.
        if (type != QNY_IMPULSE_T && !qny::bytesProblem(type, bytes)) {
            qny::appendArgument(tail, type, bytes, {});
            ++list.count;
        }
    }
}

bool hasType(const Argument& argument, qny_value_type_t type)
{
    switch (type) {
    case QNY_BOOL_T:
        return std::holds_alternative<bool>(argument);
    case QNY_INTEGER_T:
        return std::holds_alternative<int32_t>(argument);
    case QNY_DOUBLE_T:
        return std::holds_alternative<double>(argument);
    case QNY_STRING_T:
        return std::holds_alternative<QByteArray>(argument);
    default:
        return false;
    }
}

void check(Call call, size_t count)
{
    const DeclaredService& declared = declaredService(call.service);
    fuzz::expect(declared.service == call.service, "the table stands in the order of the services");
    fuzz::expect(call.arguments.size() == count, "every argument is there");
    fuzz::expect(call.caller.token->startsWith(call.caller.plainToken()), "a plain token is part of the token");
    if (!checkArguments(declared, call.arguments).isEmpty()) {
        return;
    }
    fuzz::expect(call.arguments.size() == declared.arguments.size(), "a sound call has the declared arguments");
    for (size_t i = 0; i < call.arguments.size(); ++i) {
        fuzz::expect(hasType(call.arguments[i], declared.arguments[i].type), "each of its type");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool isReady = (fuzz::beQuiet(), true);
    fuzz::expect(isReady, "nothing is logged");
    fuzz::Input input(data, size);
    const auto& services = declaredServices();
    const DeclaredService& service = services[input.number<uint8_t>() % services.size()];
    const std::string token(input.text8());
    List list;
    fill(list, input);
    int calls = 0;
    Network network(
        [&](Call call) {
            ++calls;
            fuzz::expect(call.service == service.service, "the service that was called");
            check(std::move(call), list.count);
        },
        [](const Caller&) {});
    Network::onServiceCall("caller", "uuid", service.name, list.first, list.count, token.c_str(), &network);
    fuzz::expect(calls == 1, "a call comes once");
    return 0;
}
