// SPDX-License-Identifier: Apache-2.0
// Headers of messages, and what a peer tells of itself when it opens a link.
#include "fuzz.h"

#include "link.h"
#include "text.h"
#include "wire.h"

using namespace qny;

namespace {

void checkHeader(const wire::Header& header)
{
    std::string again;
    wire::write(again, header);
    fuzz::expect(again.size() == wire::headerBytes, "a header has 40 bytes");
    wire::Header second;
    fuzz::expect(wire::read(again, second), "a header that is written can be read");
    fuzz::expect(second.version == header.version && second.type == header.type && second.port == header.port
            && second.sender == header.sender && second.senderSession == header.senderSession
            && second.receiverSession == header.receiverSession,
        "and says the same");
}

void checkHello(const Peer& told)
{
    fuzz::expect(told.hostName.size() <= maxNameBytes, "a host's name is a name");
    fuzz::expect(told.program->arguments.size() <= wire::maxCommandLineArguments, "a command line has an end");
    fuzz::expect(isUtf8(told.program->executable), "what is shown to people is UTF-8");
    Peer second;
    fuzz::expect(readHello(helloPayload(told), second).empty(), "a hello that is written can be read");
    fuzz::expect(second.maxMessageBytes == told.maxMessageBytes && second.processId == told.processId
            && second.hostName == told.hostName && second.program->executable == told.program->executable
            && second.program->arguments == told.program->arguments,
        "and says the same");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string_view message = fuzz::text(data, size);
    wire::Header header;
    if (!wire::read(message, header)) {
        return 0;
    }
    fuzz::expect(size >= wire::headerBytes, "a message has 40 bytes at least");
    checkHeader(header);
    Peer told;
    if (readHello(message.substr(wire::headerBytes), told).empty()) {
        checkHello(told);
    }
    return 0;
}
