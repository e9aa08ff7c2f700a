// SPDX-License-Identifier: MIT
#include "systemd/configuration/SystemdBackend.h"

#include <algorithm>

namespace vel_systemd::configuration {

using velbase2::nsa::common::IpSettings;
namespace iphelper = velbase2::system::iphelper;

namespace {

void setAddress(IpSettings& settings, const std::string& address)
{
    constexpr int kHostPrefixLength = 32; // an address without "/" is that of a single host
    constexpr int kNotANumber = 0;        // kept: such a length has always been shown as the mask 0.0.0.0
    constexpr int kNoLength = -1;
    const auto slash = address.find('/');
    settings.ip = iphelper::cleanupIP(address.substr(0, slash));
    settings.mask = iphelper::subnetBitsToMask(
        slash == std::string::npos ? kHostPrefixLength
                                   : iphelper::leadingNumber(address.substr(slash + 1), kNotANumber, kNoLength));
}

} // namespace

namespace detail {

IpSettings ipSettingsOf(const file::Content& content)
{
    IpSettings settings;
    const auto network = std::find_if(content.begin(), content.end(),
                                      [](const file::Section& section) { return section.name == "Network"; });
    if (network == content.end()) {
        return settings;
    }
    const auto& entries = network->entries;
    const auto dhcp = entries.find("DHCP");
    const auto address = entries.find("Address");
    // kept: only "ipv4", the value that createConfig writes. getInterfaceDHCP, for the live state, knows more values.
    if (dhcp != entries.end() && dhcp->second == "ipv4") {
        settings.dhcp = true;
    } else if (address != entries.end()) {
        setAddress(settings, address->second);
    }
    return settings;
}

std::string routesOf(const file::Content& content)
{
    std::string routes;
    for (const auto& section : content) {
        const auto destination = section.entries.find("Destination");
        const auto gateway = section.entries.find("Gateway");
        if (section.name != "Route" || destination == section.entries.end() || gateway == section.entries.end()) {
            continue;
        }
        routes += (routes.empty() ? "dst=" : " dst=") + destination->second + ",gw=" + gateway->second;
    }
    return routes;
}

} // namespace detail

template class SystemdBackendImpl<file::File>;

} // namespace vel_systemd::configuration
