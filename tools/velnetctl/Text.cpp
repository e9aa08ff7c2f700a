// SPDX-License-Identifier: MIT
#include "Text.h"

#include "base/IpHelper.h"

#include <cstdlib>

#include <unistd.h>

namespace velnetctl {
namespace {

bool wantsColor()
{
    const char* noColor = std::getenv("NO_COLOR");
    return (noColor == nullptr || *noColor == '\0') && ::isatty(STDOUT_FILENO) == 1;
}

} // namespace

std::string colored(Color color, const std::string& text)
{
    static const bool isWanted = wantsColor();
    const char* code = color == Color::Bold ? "1" : color == Color::Green ? "32" : "31";
    return isWanted ? "\033[" + std::string(code) + 'm' + text + "\033[0m" : text;
}

std::string withPrefixLength(const std::string& address, const std::string& mask)
{
    const int prefixLength = velbase2::system::iphelper::subnetMaskToBits(mask);
    return prefixLength < 0 ? address : address + '/' + std::to_string(prefixLength);
}

std::string addressText(const velbase2::nsa::common::structs::IpAddress& address)
{
    return withPrefixLength(address.address, address.mask);
}

std::string settingsText(const velbase2::nsa::common::IpSettings& settings)
{
    const auto address = withPrefixLength(settings.ip, settings.mask);
    if (!settings.dhcp) {
        return orNone(address);
    }
    return settings.ip.empty() ? "DHCP" : address + " by DHCP";
}

std::string orNone(const std::string& text)
{
    return text.empty() ? "none" : text;
}

} // namespace velnetctl
