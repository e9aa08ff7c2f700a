// SPDX-License-Identifier: MIT
#include "networkmanager/Refresher.h"

#include "base/LogLine.h"
#include "networkmanager/system/Helper.h"

#include <utility>

namespace networkmanager {

using velbase2::system::log::kDetail;
using velbase2::system::log::detail::logLine;

Refresher::Refresher(HostSignals& hostSignals, std::map<std::string, EthInterface>& interfaces, ISystemIF& system)
    : hostSignals_(hostSignals), interfaces_(interfaces), system_(system)
{}

void Refresher::refresh()
{
    logLine(kDetail, "refresh...");
    for (auto& entry : interfaces_) {
        EthInterface& iface = entry.second;
        const auto macAddress = system_.getMacAddress(iface.name);
        if (macAddress.empty()) {
            continue;
        }
        iface.macAddress.assign_and_signal(macAddress);
        updateInterface(iface);
    }
    hostSignals_.gateway.update(system_.getGateway());
    hostSignals_.hostname.update(system_.getHostname());
    logLine(kDetail, "refresh done!");
}

void Refresher::updateInterface(EthInterface& iface)
{
    refreshIpSettings(iface);
    const bool link = system_.getLink(iface.name);
    iface.link.assign_and_signal(link);
    // Without a link, the kernel reports no speed, and the read would fail.
    iface.speed.assign_and_signal(link ? system_.getSpeed(iface.name) : std::string("0"));
    iface.duplex.assign_and_signal(system_.getDuplex(iface.name));
}

void Refresher::refreshIpSettings(EthInterface& iface)
{
    // The list is passed by reference, and the cell copies it only when it has changed.
    const auto addresses = system_.getAddresses(iface.name);
    iface.addresses.assign_and_signal(addresses);
    auto settings = helper::getIpSettingsWithFirstIpv4(addresses);
    settings.dhcp = system_.getDhcpUsed(iface);
    iface.ipSettings.assign_and_signal(std::move(settings));
}

} // namespace networkmanager
