// SPDX-License-Identifier: MIT
#include "networkmanager/system/Helper.h"

#include "base/IpHelper.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string_view>

#include <arpa/inet.h>
#include <netinet/in.h>

namespace networkmanager::helper {

using velbase2::nsa::common::IpSettings;
using velbase2::nsa::common::enums::IpAddressFamily;
using velbase2::nsa::common::structs::IpAddress;
using velbase2::system::iphelper::dotted;

std::string ip2str(const sockaddr* address)
{
    return dotted(ntohl(reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr));
}

std::string mac2str(const sockaddr& hardwareAddress)
{
    std::array<unsigned char, 6> mac{};
    std::memcpy(mac.data(), hardwareAddress.sa_data, mac.size());
    std::array<char, sizeof "00:00:00:00:00:00"> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "%02X:%02X:%02X:%02X:%02X:%02X", mac[0], mac[1], mac[2],
                                    mac[3], mac[4], mac[5]));
    return text.data();
}

bool isHexString(const std::string& text)
{
    return std::all_of(text.begin(), text.end(), [](unsigned char digit) { return std::isxdigit(digit) != 0; });
}

std::string hex2ip(const std::string& hexText)
{
    if (hexText.size() != 8 || !isHexString(hexText)) {
        return {};
    }
    return dotted(ntohl(static_cast<in_addr_t>(std::stoul(hexText, nullptr, 16))));
}

bool isIpv4AndNotApipa(const IpAddress& address)
{
    constexpr std::string_view kLinkLocal = "169.254";
    return address.family == IpAddressFamily::IPv4 && address.address.compare(0, kLinkLocal.size(), kLinkLocal) != 0;
}

IpSettings getIpSettingsWithFirstIpv4(const std::vector<IpAddress>& addresses)
{
    IpSettings settings;
    const auto first = std::find_if(addresses.begin(), addresses.end(), isIpv4AndNotApipa);
    if (first != addresses.end()) {
        settings.ip = first->address;
        settings.mask = first->mask;
    }
    return settings;
}

} // namespace networkmanager::helper
