// SPDX-License-Identifier: Apache-2.0
// Datagrams on the discovery port.
#include "fuzz.h"

#include "wire.h"

using namespace qny;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    wire::Beacon beacon;
    if (!wire::readBeacon(fuzz::text(data, size), beacon)) {
        return 0;
    }
    fuzz::expect(size >= wire::beaconBytes, "a beacon has 24 bytes at least");
    fuzz::expect(beacon.port != 0, "a beacon names a port");
    const std::string again = wire::beaconText(beacon);
    wire::Beacon second;
    fuzz::expect(again.size() == wire::beaconBytes + (beacon.mark ? sizeof(wire::Mark) : 0) && again.size() <= size,
        "a beacon is no longer than what it was read from");
    fuzz::expect(wire::readBeacon(again, second), "what is written can be read");
    fuzz::expect(second.port == beacon.port && second.sender == beacon.sender && second.mark == beacon.mark,
        "and says the same");
    return 0;
}
