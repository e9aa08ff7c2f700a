// SPDX-License-Identifier: MIT
#include "networkhost/text/Addresses.h"

#include "base/IpHelper.h"

#include <arpa/inet.h>

namespace networkhost {

namespace iphelper = velbase2::system::iphelper;

std::optional<int> parsePrefixLength(const std::string& text)
{
    const bool isNumber =
        !text.empty() && text.size() <= 2 && text.find_first_not_of("0123456789") == std::string::npos;
    const bool hasLeadingZero = text.size() > 1 && text.front() == '0'; // the daemons read it as octal
    if (!isNumber || hasLeadingZero || std::stoi(text) > 32) {
        return std::nullopt;
    }
    return std::stoi(text);
}

bool isCanonicalAddress(const std::string& text)
{
    return iphelper::isValidIp(text) && iphelper::cleanupIP(text) == text;
}

std::uint32_t addressBits(const std::string& address)
{
    in_addr_t bits = 0;
    ::inet_pton(AF_INET, iphelper::cleanupIP(address).c_str(), &bits);
    return ntohl(bits);
}

std::string withPrefixLength(const std::string& address, const std::string& mask)
{
    const int prefixLength = iphelper::subnetMaskToBits(mask);
    return prefixLength < 0 ? address : address + '/' + std::to_string(prefixLength);
}

} // namespace networkhost
