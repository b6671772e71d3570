// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "quenary.h"

#include <string>
#include <vector>

namespace qny {

struct Device
{
    std::string name;
    std::string address;
    bool ipv6 = false;
    bool loopback = false;
    unsigned index = 0;
};

// Devices that are up, one entry an address; IPv4 first.
std::vector<Device> listDevices();

// Of 127.0.0.0/8.
bool isLoopbackAddress(const std::string& text);

// By name ("lo") or address ("127.0.0.1", also any other address of 127.0.0.0/8).
qny_result_t findDevice(const std::string& nameOrAddress, Device& into);

} // namespace qny
