// SPDX-License-Identifier: MIT
#include "networkhost/text/Checks.h"

#include "base/IpHelper.h"
#include "networkhost/text/Addresses.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace networkhost {

namespace iphelper = velbase2::system::iphelper;

namespace {

bool isControl(char character)
{
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7F;
}

bool hasLeadingZero(const std::string& address)
{
    for (std::size_t i = 0; i + 1 < address.size(); ++i) {
        const bool startsNumber = i == 0 || address[i - 1] == '.';
        if (startsNumber && address[i] == '0' && address[i + 1] != '.') {
            return true;
        }
    }
    return false;
}

} // namespace

std::string faultOfAddress(const std::string& address)
{
    if (iphelper::isValidIp(address)) {
        return {};
    }
    const auto quoted = "'" + printable(address) + "'";
    if (address.empty()) {
        return "the address is missing";
    }
    if (address.find(':') != std::string::npos) {
        return quoted + " is not a valid IPv4 address: IPv6 is not supported";
    }
    if (hasLeadingZero(address)) {
        return quoted + " is not a valid IPv4 address: a number with a leading zero may be read as octal";
    }
    return quoted + " is not a valid IPv4 address: an address is four numbers from 0 to 255 with dots between";
}

std::string faultOfMask(const std::string& mask)
{
    if (iphelper::isValidMask(mask)) {
        return {};
    }
    return iphelper::isValidIp(mask) ? "the mask " + mask + " is not contiguous"
                                     : "'" + printable(mask) + "' is not a mask such as 255.255.255.0";
}

std::string faultOfPrefixLength(const std::string& length)
{
    return parsePrefixLength(length)
               ? std::string()
               : "'/" + printable(length) + "' is not a prefix length: a prefix length is 0 to 32";
}

std::string faultOfSettings(const velbase2::nsa::common::IpSettings& settings)
{
    if (settings.dhcp) {
        return {};
    }
    const auto fault = faultOfAddress(settings.ip);
    return fault.empty() ? faultOfMask(settings.mask) : fault;
}

std::string faultOfDestination(const std::string& destination)
{
    const auto slash = destination.find('/');
    const auto fault = faultOfAddress(destination.substr(0, slash));
    return fault.empty() && slash != std::string::npos ? faultOfPrefixLength(destination.substr(slash + 1)) : fault;
}

std::string faultOfText(const std::string& text, bool allowsLineFeeds)
{
    const bool isBad = std::any_of(text.begin(), text.end(), [&](char character) {
        return isControl(character) && !(allowsLineFeeds && character == '\n');
    });
    return isBad ? "'" + printable(text) + "': control characters are not allowed" : std::string();
}

std::string printable(const std::string& text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char character = text[i];
        // Terminals also take U+0080 to U+009F as control characters.
        const bool isPartOfControl = i > 0 && text[i - 1] == '\xC2' && (character & '\xE0') == '\x80';
        if (isControl(character) || isPartOfControl) {
            std::array<char, 5> escaped{};
            static_cast<void>(
                std::snprintf(escaped.data(), escaped.size(), "\\x%02x", static_cast<unsigned int>(character) & 0xFFU));
            result += escaped.data();
        } else {
            result += character;
        }
    }
    return result;
}

} // namespace networkhost
