// SPDX-License-Identifier: MIT
#include "Configured.h"

#include "base/IpHelper.h"
#include "networkhost/state/Text.h"
#include "networkhost/text/Checks.h"
#include "networkhost/text/NetworkAddress.h"

namespace velnetctl {

using networkhost::toText;
using velbase2::nsa::common::IpSettings;

std::string configuredText(const networkhost::ConfiguredInterface& configured)
{
    auto text = toText(configured) + (configured.gateway.empty() ? "" : ", gateway " + configured.gateway);
    if (!configured.dnsServers.empty() || !configured.searchDomains.empty()) {
        text += ", name servers " + toText(configured.dnsServers) + ", search " + toText(configured.searchDomains);
    }
    return networkhost::printable(text);
}

IpSettings settingsOf(const networkhost::ConfiguredInterface& configured)
{
    IpSettings settings;
    settings.dhcp = configured.dhcp;
    settings.gateway = configured.gateway;
    if (!configured.addresses.empty() && !configured.dhcp) {
        const auto& address = configured.addresses.front();
        const auto parsed = networkhost::NetworkAddress::parse(address);
        settings.ip = parsed ? parsed->address() : address.substr(0, address.find('/'));
        settings.mask = parsed ? parsed->mask() : std::string();
    }
    return settings;
}

std::string resolverText(const std::vector<std::string>& servers, const std::vector<std::string>& domains)
{
    return networkhost::printable(toText(servers) + ", search " + toText(domains));
}

} // namespace velnetctl
