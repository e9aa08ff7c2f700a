// SPDX-License-Identifier: MIT
#include "Configured.h"

#include "networkhost/state/Text.h"
#include "networkhost/text/Checks.h"

namespace velnetctl {

using networkhost::toText;

std::string configuredText(const networkhost::ConfiguredInterface& configured)
{
    auto text = toText(configured) + (configured.gateway.empty() ? "" : ", gateway " + configured.gateway);
    if (!configured.dnsServers.empty() || !configured.searchDomains.empty()) {
        text += ", name servers " + toText(configured.dnsServers) + ", search " + toText(configured.searchDomains);
    }
    return networkhost::printable(text);
}

std::string resolverText(const std::vector<std::string>& servers, const std::vector<std::string>& domains)
{
    return networkhost::printable(toText(servers) + ", search " + toText(domains));
}

} // namespace velnetctl
