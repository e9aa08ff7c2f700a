// SPDX-License-Identifier: MIT
#include "networkhost/text/NetworkAddress.h"

#include "base/IpHelper.h"
#include "networkhost/text/Addresses.h"
#include "networkhost/text/Checks.h"

#include <algorithm>
#include <locale>

#include <boost/algorithm/string/predicate.hpp>

namespace networkhost {

namespace iphelper = velbase2::system::iphelper;

namespace {

std::uint32_t maskOf(int length)
{
    return length == 0 ? 0U : ~std::uint32_t{0} << static_cast<unsigned int>(32 - length);
}

} // namespace

std::optional<NetworkAddress> NetworkAddress::parse(const std::string& text, std::string& fault)
{
    const auto slash = text.find('/');
    const auto address = text.substr(0, slash);
    const auto length = slash == std::string::npos ? 32 : parsePrefixLength(text.substr(slash + 1));
    fault = faultOfDestination(text);
    return fault.empty() ? std::optional(NetworkAddress{addressBits(address), *length}) : std::nullopt;
}

std::optional<NetworkAddress> NetworkAddress::parse(const std::string& text)
{
    std::string fault;
    return parse(text, fault);
}

std::optional<NetworkAddress> NetworkAddress::parseAsDaemons(const std::string& text)
{
    const auto parsed = parse(text);
    return parsed && isCanonicalAddress(text.substr(0, text.find('/'))) ? parsed : std::nullopt;
}

std::optional<NetworkAddress> NetworkAddress::of(const std::string& address, const std::string& mask)
{
    const int length = iphelper::subnetMaskToBits(mask);
    return iphelper::isValidIp(address) && length >= 0 ? std::optional(NetworkAddress{addressBits(address), length})
                                                       : std::nullopt;
}

std::string NetworkAddress::text() const
{
    return address() + '/' + std::to_string(length);
}

std::string NetworkAddress::address() const
{
    return iphelper::dotted(bits);
}

std::string NetworkAddress::mask() const
{
    return iphelper::dotted(maskOf(length));
}

NetworkAddress NetworkAddress::network() const
{
    return {bits & maskOf(length), length};
}

NetworkAddress NetworkAddress::broadcast() const
{
    return {bits | ~maskOf(length), length};
}

bool NetworkAddress::contains(const NetworkAddress& other) const
{
    return ((bits ^ other.bits) & maskOf(length)) == 0;
}

bool NetworkAddress::overlaps(const NetworkAddress& other) const
{
    return ((bits ^ other.bits) & maskOf(std::min(length, other.length))) == 0;
}

velbase2::nsa::common::IpSettings NetworkAddress::settings() const
{
    return {address(), mask(), false, {}};
}

std::optional<velbase2::nsa::common::IpSettings> parseIpSettings(const std::string& text, std::string& fault)
{
    if (boost::algorithm::iequals(text, "dhcp", std::locale::classic())) {
        fault.clear();
        return velbase2::nsa::common::IpSettings{{}, {}, true, {}};
    }
    const auto address = NetworkAddress::parse(text, fault);
    if (address && text.find('/') == std::string::npos) {
        fault = "'" + text + "' has no prefix length: use a form such as " + text + "/24";
        return std::nullopt;
    }
    return address ? std::optional(address->settings()) : std::nullopt;
}

} // namespace networkhost
