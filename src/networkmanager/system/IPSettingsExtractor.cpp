// SPDX-License-Identifier: MIT
#include "networkmanager/system/IPSettingsExtractor.h"

#include "base/IpHelper.h"
#include "networkmanager/system/Helper.h"

namespace networkmanager {

using velbase2::nsa::common::structs::IpAddress;

IPSettingsExtractor::IPSettingsExtractor() : IPSettingsExtractor(SocketReaderFactory()) {}

IPSettingsExtractor::IPSettingsExtractor(const SocketReaderFactory& factory) : reader_(factory.create()) {}

std::vector<IpAddress> IPSettingsExtractor::getInterfaceAddresses(const std::string& interfaceName) const
{
    return reader_->getInterfaceAddresses(interfaceName);
}

std::string IPSettingsExtractor::getInterfaceMAC(const std::string& interfaceName) const
{
    return reader_->getInterfaceMac(interfaceName);
}

bool IPSettingsExtractor::getInterfaceDHCP(const std::string& fileContent) const
{
    // kept: a plain search, which also finds the text in a comment. readFile has removed the line ends, and therefore
    // comments cannot be recognised.
    const auto holds = [&fileContent](const char* marker) { return fileContent.find(marker) != std::string::npos; };
    return holds("DHCP=yes") || holds("DHCP=ipv4") || holds("DHCP=ipv6");
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): hosts compile against this signature
std::string IPSettingsExtractor::getDefaultGateway(const std::string& interfaceName, std::string routeTable) const
{
    // kept: a plain search, which also finds the name at the end of a longer name. The table has no line ends.
    const std::string key = interfaceName + "\t00000000\t";
    const auto position = routeTable.find(key);
    if (position == std::string::npos) {
        return {};
    }
    constexpr std::size_t kGatewayDigits = 8;
    return velbase2::system::iphelper::cleanupIP(
        helper::hex2ip(routeTable.substr(position + key.size(), kGatewayDigits)));
}

} // namespace networkmanager
