// SPDX-License-Identifier: MIT
#include "networkhost/state/Text.h"

#include "networkhost/text/Addresses.h"

#include <boost/algorithm/string/join.hpp>

namespace networkhost {

using velbase2::nsa::common::IpSettings;
using velbase2::nsa::common::structs::IpAddress;

std::string toText(const std::string& text)
{
    return text.empty() ? "none" : text;
}

std::string toText(bool isUp)
{
    return isUp ? "up" : "down";
}

std::string toText(const IpSettings& settings)
{
    const auto address = withPrefixLength(settings.ip, settings.mask);
    if (!settings.dhcp) {
        return toText(address);
    }
    return settings.ip.empty() ? "DHCP" : address + " by DHCP";
}

std::string toText(const std::vector<IpAddress>& addresses)
{
    std::vector<std::string> texts;
    texts.reserve(addresses.size());
    for (const auto& address : addresses) {
        texts.push_back(withPrefixLength(address.address, address.mask));
    }
    return toText(texts);
}

std::string toText(const ConfiguredInterface& iface)
{
    auto texts = iface.addresses;
    if (iface.dhcp) {
        texts.emplace_back("DHCP");
    }
    return toText(texts);
}

std::string toText(const Route& route)
{
    return route.destination + " via " + route.gateway;
}

std::string toText(const std::vector<std::string>& texts)
{
    return toText(boost::algorithm::join(texts, ", "));
}

} // namespace networkhost
