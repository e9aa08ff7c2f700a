// SPDX-License-Identifier: MIT
#include "networkmanager/confighandler/ConfigHandler.h"

#include "base/IpHelper.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace networkmanager::confighandler {

using velbase2::nsa::common::IpSettings;
namespace iphelper = velbase2::system::iphelper;

namespace {

constexpr const char* kNoAddress = "0.0.0.0";
constexpr std::string_view kInet = "inet ";

/// The first result of `scan`, which is called for each line until it returns one.
template <class Scan>
auto firstLine(std::string_view text, Scan scan) -> decltype(scan(text))
{
    while (!text.empty()) {
        const auto lineEnd = std::min(text.find('\n'), text.size());
        if (auto result = scan(text.substr(0, lineEnd))) {
            return result;
        }
        text.remove_prefix(std::min(lineEnd + 1, text.size()));
    }
    return std::nullopt;
}

/// The text after the first `key` in the line.
std::optional<std::string_view> textAfter(std::string_view line, std::string_view key)
{
    const auto position = line.find(key);
    if (position == std::string_view::npos) {
        return std::nullopt;
    }
    return line.substr(position + key.size());
}

std::string_view upTo(std::string_view text, char end)
{
    return text.substr(0, text.find(end));
}

} // namespace

bool ipSettingsValid(const IpSettings& settings)
{
    return settings.dhcp || (iphelper::isValidIp(settings.ip) && iphelper::isValidMask(settings.mask));
}

std::string getIntComIfConf()
{
    return "LinkLocalAddressing=ipv6\nMulticastDNS=true\n";
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): hosts compile against this signature
std::string getHeader(std::string name)
{
    return "[Match]\nName=" + name + "\n\n[Network]\n";
}

std::string getGatewayConfig(const std::string& gateway)
{
    const auto address = iphelper::cleanupIP(gateway);
    return address == kNoAddress ? std::string() : "[Route]\nGateway=" + address + '\n';
}

std::string createConfig(const std::string& name, const IpSettings& settings, const std::string& gateway, bool intComIf)
{
    if (!ipSettingsValid(settings)) {
        return {};
    }
    std::string config = getHeader(name);
    if (intComIf) {
        config += getIntComIfConf();
    }
    const auto address = iphelper::cleanupIP(settings.ip);
    if (settings.dhcp) {
        config += "DHCP=ipv4\n";
    } else if (address != kNoAddress) {
        config += "Address=" + address + '/' + std::to_string(iphelper::subnetMaskToBits(settings.mask)) + '\n';
    }
    return config + getGatewayConfig(gateway) + '\n';
}

std::string parseGateway(const std::string& text)
{
    const auto found = firstLine(text, [](std::string_view line) { return textAfter(line, "default via "); });
    return std::string(upTo(found.value_or(std::string_view()), ' '));
}

std::string parseIpAddr(const std::string& text)
{
    const auto found = firstLine(text, [](std::string_view line) {
        return textAfter(upTo(line, '/'), kInet) ? textAfter(line, kInet) : std::nullopt;
    });
    return std::string(upTo(found.value_or(std::string_view()), '/'));
}

bool parseDhcp(const std::string& text)
{
    return firstLine(text,
                     [](std::string_view line) {
                         return line.find("dynamic") != std::string_view::npos ? textAfter(line, kInet) : std::nullopt;
                     })
        .has_value();
}

std::string parseSubnetMask(const std::string& text)
{
    const auto found = firstLine(text, [](std::string_view line) { return textAfter(line, kInet); });
    if (!found) {
        return {};
    }
    // kept: without "/", the first number of the address is the length. A text without a valid int counts as 24.
    constexpr int kFallback = 24;
    const auto prefix = upTo(textAfter(*found, "/").value_or(*found), ' ');
    return iphelper::subnetBitsToMask(iphelper::leadingNumber(std::string(prefix), kFallback, kFallback));
}

} // namespace networkmanager::confighandler
