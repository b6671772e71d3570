// SPDX-License-Identifier: Apache-2.0
// Requests to the launcher to start or to end an agent. Each argument is a byte of type, and its bytes behind two of
// length; where a text is "@", it is the program that may be started.
#include "fuzz.h"
#include "quiet.h"

#include "network.h"
#include "request.h"
#include "service_arguments.h"
#include "value.h"

#include <QFileInfo>
#include <QObject>

using namespace launcher;

namespace {

const QString ALLOWED = QStringLiteral("/proc/self/exe");

struct List
{
    qny_service_arg_t* first = nullptr;
    size_t count = 0;
    ~List() { qny::freeArguments(first); }
};

void fill(List& list, fuzz::Input& input, const std::string& program)
{
    qny_service_arg_t** tail = &list.first;
    while (!input.isEmpty()) {
        const auto type = static_cast<qny_value_type_t>(1 + input.number<uint8_t>() % 6);
        std::string bytes(input.text16());
        if (bytes == std::string_view("@", 2)) {
            bytes = program + '\0';
        }
        if (type != QNY_IMPULSE_T && !qny::bytesProblem(type, bytes)) {
            qny::appendArgument(tail, type, bytes, {});
            ++list.count;
        }
    }
}

void check(Request request, const Configuration& configuration)
{
    const QStringList asked = request.arguments;
    const QString refusal = refusalOf(request, configuration);
    fuzz::expect(asked == request.arguments, "arguments stay what they are");
    if (!refusal.isEmpty()) {
        fuzz::expect(refusal.size() < 4096, "a refusal can be shown");
        return;
    }
    fuzz::expect(configuration.find(request.program) != nullptr, "nothing is started but what is listed");
    fuzz::expect(request.arguments.size() <= MOST_ARGUMENTS, "a launch line has an end");
    fuzz::expect(isPlainUuid(request.launchUuid) && !request.launchUuid.contains(u'/'), "the uuid may name a folder");
    for (const QString& argument : request.arguments) {
        fuzz::expect(!argument.contains(QChar(u'\0')), "an argument is one");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool isReady = (fuzz::beQuiet(), fuzz::application(), true);
    fuzz::expect(isReady, "there is an application");
    static const QString program = QFileInfo(ALLOWED).canonicalFilePath();
    static const Configuration configuration { .programs = { Program { program, {} } } };
    List list;
    fuzz::Input input(data, size);
    fill(list, input, program.toStdString());

    Network network;
    QObject::connect(
        &network, &Network::startAsked, &network, [&](const Request& request) { check(request, configuration); });
    Network::_onStart("asker", "uuid", "start", list.first, list.count, nullptr, &network);
    Network::_onStop("asker", "uuid", "stop", list.first, list.count, nullptr, &network);
    QCoreApplication::sendPostedEvents(&network);
    fuzz::expect(network._waiting == 0, "no request stays");
    return 0;
}
