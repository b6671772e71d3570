// SPDX-License-Identifier: Apache-2.0
#include "wire.h"

namespace qny::wire {

namespace {
constexpr std::string_view messageMagic = "QN";
constexpr std::string_view beaconMagic = "QNYB";
} // namespace

void write(std::string& into, const Header& header)
{
    Writer writer(into);
    writer.bytes(messageMagic);
    writer.number(header.version);
    writer.number(static_cast<uint8_t>(header.type));
    writer.number(header.port);
    writer.number(uint16_t { 0 }); // reserved
    writer.uuid(header.sender);
    writer.number(header.senderSession);
    writer.number(header.receiverSession);
}

bool read(std::string_view message, Header& header)
{
    Reader reader(message);
    if (reader.bytes(messageMagic.size()) != messageMagic) {
        return false;
    }
    header.version = reader.number<uint8_t>();
    header.type = static_cast<MessageType>(reader.number<uint8_t>());
    header.port = reader.number<uint16_t>();
    reader.number<uint16_t>();
    header.sender = reader.uuid();
    header.senderSession = reader.number<uint64_t>();
    header.receiverSession = reader.number<uint64_t>();
    return reader.ok();
}

std::string beaconText(const Beacon& beacon)
{
    std::string text;
    Writer writer(text);
    writer.bytes(beaconMagic);
    writer.number(protocolVersion);
    writer.number(beacon.mark ? beaconSecured : uint8_t { 0 });
    writer.number(beacon.port);
    writer.uuid(beacon.sender);
    if (beacon.mark) {
        writer.uuid(*beacon.mark);
    }
    return text;
}

bool readBeacon(std::string_view datagram, Beacon& beacon)
{
    Reader reader(datagram);
    if (reader.bytes(beaconMagic.size()) != beaconMagic || reader.number<uint8_t>() != protocolVersion) {
        return false;
    }
    const auto flags = reader.number<uint8_t>();
    beacon.port = reader.number<uint16_t>();
    beacon.sender = reader.uuid();
    beacon.mark.reset();
    if (flags & beaconSecured) {
        beacon.mark = reader.uuid();
    }
    return reader.ok() && beacon.port != 0;
}

} // namespace qny::wire
