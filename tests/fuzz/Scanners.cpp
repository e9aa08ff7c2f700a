// SPDX-License-Identifier: MIT
#include "Fuzz.h"
#include "networkmanager/confighandler/ConfigHandler.h"
#include "systemd/configuration/SystemdBackend.h"

#include <sstream>

using velbase2::nsa::common::IpSettings;

namespace {

void checkScanners(const std::string& output)
{
    namespace confighandler = networkmanager::confighandler;
    const auto isPart = [&output](const std::string& text, const char* without) {
        return output.find(text) != std::string::npos && text.find_first_of(without) == std::string::npos;
    };
    const auto mask = confighandler::parseSubnetMask(output);
    fuzz::require(isPart(confighandler::parseGateway(output), " \n"), "a gateway is a word of the text");
    fuzz::require(isPart(confighandler::parseIpAddr(output), "/\n"), "an address is part of a line");
    fuzz::require(mask.empty() || fuzz::numberOf(mask), "a mask is an address");
    fuzz::require(!confighandler::parseDhcp(output) || isPart("dynamic", ""), "an address by DHCP is dynamic");
}

/// The written file must load as the requested settings.
void checkConfig(const IpSettings& settings)
{
    const auto text = networkmanager::confighandler::createConfig("remote", settings, settings.gateway, false);
    fuzz::requireKnown(networksimulation::wrote("/etc/systemd/network/02_remote.network", text));
    const auto number = fuzz::numberOf(settings.ip);
    const auto mask = fuzz::numberOf(settings.mask);
    fuzz::require(text.empty() || settings.dhcp || (number && mask), "there is no file without an address");
    vel_systemd::configuration::file::Content content;
    std::istringstream(text) >> vel_systemd::configuration::file::FileConverter(content);
    IpSettings expected;
    expected.dhcp = settings.dhcp;
    if (!text.empty() && !settings.dhcp && *number != 0) {
        expected.ip = fuzz::dottedText(*number);
        expected.mask = fuzz::dottedText(*mask);
    }
    fuzz::require(vel_systemd::configuration::detail::ipSettingsOf(content) == expected, "it loads as it was set");
}

} // namespace

/// The input is the output of a tool. Its first three lines also serve as an address, a mask and a gateway.
void fuzz::check(const std::string& input)
{
    checkScanners(input);
    auto lines = split(input, '\n');
    lines.resize(3);
    checkConfig({lines[0], lines[1], false, lines[2]});
    checkConfig({lines[0], lines[1], true, lines[2]});
}
