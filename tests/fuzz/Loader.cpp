// SPDX-License-Identifier: MIT
#include "Fuzz.h"
#include "base/Paths.h"
#include "networkhost/plan/SettingsDocument.h"
#include "networksimulation/NetworkManagerData.h"

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
}
