// SPDX-License-Identifier: MIT
#include "Fuzz.h"
#include "base/Paths.h"
#include "networkhost/plan/Requests.h"
#include "networkhost/plan/SettingsDocument.h"
#include "networkhost/text/Checks.h"
#include "networksimulation/NetworkManagerData.h"

#include <algorithm>

#include <boost/algorithm/string.hpp>

namespace {

const char* const kMain = "/etc/systemd/network/02_remote.network";

/// What systemd-networkd reads does not depend on comments and line ends.
void checkReading(networksimulation::Device& device, const std::string& text)
{
    const auto read = [&device](const std::string& changed) {
        device.put(kMain, changed);
        return readConfiguration(device.files()).interfaces.at("remote");
    };
    const auto iface = read(text);
    fuzz::require(text.empty() || read("; a comment \\\n" + text) == iface, "a comment changes nothing");
    if (text.find_first_of(std::string("\r\0", 2)) == std::string::npos) {
        fuzz::require(read(boost::replace_all_copy(text, "\n", "\r\n")) == iface, "line ends change nothing");
    }
    device.put(kMain, text);
}

/// A change configures its address. Its plan warns of each line that the change drops without being asked to.
void checkChange(networksimulation::Device& device, const std::string& text)
{
    const auto plan = planIp(device, "remote", {"192.168.50.77", "255.255.255.0", false, {}});
    const auto change =
        std::find_if(plan.files.begin(), plan.files.end(), [](const auto& x) { return x.path == kMain; });
    if (change == plan.files.end()) {
        return;
    }
    const auto& iface = plan.after.interfaces.at("remote");
    const auto& addresses = iface.addresses;
    fuzz::require(!iface.unused.empty() || std::count(addresses.begin(), addresses.end(), "192.168.50.77/24") == 1,
                  "the address is configured");
    std::vector<std::string> lines;
    boost::split(lines, text,
                 [](char character) { return character == '\n' || character == '\r' || character == '\0'; });
    for (auto line : lines) {
        boost::trim_if(line, boost::is_any_of(" \t"));
        const auto key = boost::trim_copy_if(line.substr(0, line.find('=')), boost::is_any_of(" \t"));
        const bool isAskedFor = key == "Address" || key == "DHCP" || key == "Gateway" || line.empty() || line[0] == '[';
        const bool isKept = ("\n" + *change->after).find("\n" + line + "\n") != std::string::npos;
        const auto told = std::string(kMain) + " loses the line '" + networkhost::printable(line) + '\'';
        fuzz::require(isAskedFor || isKept || std::count(plan.warnings.begin(), plan.warnings.end(), told) > 0,
                      "the plan warns of a dropped line: " + line);
    }
}

} // namespace

/// The input is the three files of an interface in the order of loading, with "%" between.
void fuzz::check(const std::string& input)
{
    namespace paths = velbase2::system::paths;
    static networksimulation::Device device;
    auto texts = split(input, '%');
    texts.resize(paths::kInLoadingOrder.size());
    for (std::size_t i = 0; i < texts.size(); ++i) {
        device.put(paths::ofInterface("02_remote.network", paths::kInLoadingOrder.at(i)), texts[i]);
    }
    networkmanager::EthInterface iface;
    iface.networkFile = "02_remote.network";
    networksimulation::NetworkManagerData::Backend().load(iface);
    const auto settings = iface.ipSettings.get().value();
    const auto number = numberOf(settings.ip);
    const auto mask = numberOf(settings.mask);
    require(settings.gateway.empty(), "no gateway is loaded");
    require(settings.ip.empty() || (number && dottedText(*number) == settings.ip), "an address is canonical");
    require(settings.mask.empty() || (mask && (~*mask & (~*mask + 1)) == 0), "a mask is contiguous");
    require(!settings.ip.empty() || settings.mask.empty(), "a mask belongs to an address");
    require(!settings.dhcp || settings.ip.empty(), "DHCP has no address");

    std::vector<std::string> faults;
    const auto document = networkhost::toDocument(networkhost::sorted(readConfiguration(device.files())));
    const auto wanted = networkhost::parseDocument(document, faults);
    require(!faults.empty() || networkhost::toDocument(wanted) == document, "what can be saved is saved whole");

    checkReading(device, texts.back());
    checkChange(device, texts.back());
}
