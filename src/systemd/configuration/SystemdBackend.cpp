// SPDX-License-Identifier: MIT
#include "systemd/configuration/SystemdBackend.h"

#include <algorithm>
#include <locale>

namespace vel_systemd::configuration {

using velbase2::nsa::common::IpSettings;
namespace iphelper = velbase2::system::iphelper;

namespace {

/// Like stream extraction: a text that is no number gives 0, one out of range a length that is none.
int parsePrefixLength(const std::string& text)
{
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    int prefixLength = 0;
    stream >> prefixLength;
    return prefixLength;
}

void setAddress(IpSettings& settings, const std::string& address)
{
    constexpr int kHostPrefixLength = 32; // without "/" it is the address of a host
    const auto slash = address.find('/');
    settings.ip = iphelper::cleanupIP(address.substr(0, slash));
    settings.mask = iphelper::subnetBitsToMask(
        slash == std::string::npos ? kHostPrefixLength : parsePrefixLength(address.substr(slash + 1)));
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
    // Only "ipv4" on purpose: it is what this library writes. The live state knows more values.
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
