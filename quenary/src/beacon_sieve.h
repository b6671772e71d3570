// SPDX-License-Identifier: Apache-2.0
// Beacons cost their sender nothing, and us an attempt to connect. While few come, each is tried at once; when more
// come than can be tried, only those of peers that go on sending them, as true ones do. Only
// with the network's turn (network.h).
#pragma once

#include "wire.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qny {

class BeaconSieve
{
public:
    // How many may be read now. A flood costs no more than that.
    size_t budget(int64_t now);
    void setBudget(size_t left) { m_left = left; }
    int64_t nextBudget() const { return m_refill; }

    // Whether the same beacon came some time ago, and was not said yes to of late.
    bool isSteady(const wire::Beacon& beacon, const std::string& from, int64_t now);

private:
    struct Seen
    {
        uint32_t tag = 0;
        uint32_t first = 0; // ms
        uint32_t tried = 0; // ms; 0: never
    };
    size_t m_left = 0;
    int64_t m_refill = 0;
    std::vector<Seen> m_seen; // empty until it is needed
};

} // namespace qny
