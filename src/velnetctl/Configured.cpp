// SPDX-License-Identifier: MIT
#include "Configured.h"

#include "base/IpHelper.h"
#include "networkhost/state/Text.h"
#include "networkhost/text/Addresses.h"
#include "networkhost/text/Checks.h"

#include <algorithm>

namespace velnetctl {

using networkhost::toText;
using velbase2::nsa::common::IpSettings;
namespace iphelper = velbase2::system::iphelper;

std::string configuredText(const networkhost::ConfiguredInterface& configured)
{
    return networkhost::printable(toText(configured) +
                                  (configured.gateway.empty() ? "" : ", gateway " + configured.gateway));
}

IpSettings settingsOf(const networkhost::ConfiguredInterface& configured)
{
    IpSettings settings;
    settings.dhcp = configured.dhcp;
    settings.gateway = configured.gateway;
    if (!configured.addresses.empty() && !configured.dhcp) {
        const auto& address = configured.addresses.front();
        const auto slash = address.find('/');
        settings.ip = address.substr(0, slash);
        const auto length = networkhost::parsePrefixLength(address.substr(std::min(slash, address.size() - 1) + 1));
        settings.mask = length ? iphelper::subnetBitsToMask(*length) : std::string();
    }
    return settings;
}

std::string resolverText(const std::vector<std::string>& servers, const std::vector<std::string>& domains)
{
    return networkhost::printable(toText(servers) + ", search " + toText(domains));
}

} // namespace velnetctl
