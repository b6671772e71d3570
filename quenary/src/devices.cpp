// SPDX-License-Identifier: Apache-2.0
#include "devices.h"

#include "report.h"

#include <algorithm>
#include <arpa/inet.h>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <netinet/in.h>

namespace qny {

namespace {

std::string addressText(const sockaddr* address)
{
    char text[INET6_ADDRSTRLEN] = "";
    if (address->sa_family == AF_INET) {
        inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(address)->sin_addr, text, sizeof text);
    } else {
        inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr, text, sizeof text);
    }
    return text;
}

bool isLinkLocal(const sockaddr* address)
{
    return address->sa_family == AF_INET6
        && IN6_IS_ADDR_LINKLOCAL(&reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr);
}

} // namespace

bool isLoopbackAddress(const std::string& text)
{
    in_addr address {};
    return inet_pton(AF_INET, text.c_str(), &address) == 1 && (ntohl(address.s_addr) >> 24) == 127;
}

std::vector<Device> listDevices()
{
    std::vector<Device> devices;
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) {
        return devices;
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, &freeifaddrs);
    for (const ifaddrs* each = list; each; each = each->ifa_next) {
        if (!each->ifa_addr || !(each->ifa_flags & IFF_UP)) {
            continue;
        }
        const int family = each->ifa_addr->sa_family;
        // A link-local address says nothing without its device: it cannot be told to others.
        if ((family != AF_INET && family != AF_INET6) || isLinkLocal(each->ifa_addr)) {
            continue;
        }
        devices.push_back({ each->ifa_name, addressText(each->ifa_addr), family == AF_INET6,
            (each->ifa_flags & IFF_LOOPBACK) != 0, if_nametoindex(each->ifa_name) });
    }
    std::ranges::stable_sort(devices, {}, &Device::ipv6);
    return devices;
}

qny_result_t findDevice(const std::string& nameOrAddress, Device& into)
{
    const std::vector<Device> devices = listDevices();
    for (const Device& device : devices) {
        if (device.name == nameOrAddress || device.address == nameOrAddress) {
            into = device;
            return QNY_SUCCESS;
        }
    }
    if (isLoopbackAddress(nameOrAddress)) {
        const auto loopback
            = std::ranges::find_if(devices, [](const Device& each) { return each.loopback && !each.ipv6; });
        if (loopback != devices.end()) {
            into = *loopback;
            into.address = nameOrAddress;
            return QNY_SUCCESS;
        }
    }
    std::string known;
    for (const Device& device : devices) {
        known += (known.empty() ? "" : ", ") + device.name + " (" + device.address + ")";
    }
    return fail(QNY_ERROR_DEVICE,
        "There is no network device '" + printable(nameOrAddress)
            + "' with a usable address; there are: " + (known.empty() ? "none" : known) + ".");
}

} // namespace qny
