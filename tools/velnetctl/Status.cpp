// SPDX-License-Identifier: MIT
#include "Status.h"

#include "Json.h"
#include "Text.h"
#include "networkmanager/NetworkManager.h"
#include "networkmanager/Refresher.h"

#include <algorithm>
#include <iomanip>
#include <map>

namespace velnetctl {

using networkmanager::EthInterface;
using velbase2::nsa::common::IpSettings;

namespace {

/// What the files ask for, by interface. After a refresh the cells hold the live settings instead.
using Configured = std::map<std::string, std::optional<IpSettings>>;

void printLine(std::ostream& output, const char* label, const std::string& text)
{
    output << "  " << std::left << std::setw(12) << label << text << '\n';
}

std::string linkText(const EthInterface& iface)
{
    if (!iface.macAddress.get()) {
        return colored(Color::Red, "absent");
    }
    if (!iface.link.get().value_or(false)) {
        return colored(Color::Red, "down");
    }
    auto text = colored(Color::Green, "up");
    if (const auto speed = iface.speed.get().value_or(""); !speed.empty()) {
        text += ", " + speed + " Mbit/s";
    }
    if (const auto duplex = iface.duplex.get().value_or(""); !duplex.empty()) {
        text += ", " + duplex + " duplex";
    }
    return text;
}

void printInterface(std::ostream& output, const EthInterface& iface, const std::optional<IpSettings>& configured)
{
    output << '\n' << colored(Color::Bold, iface.name) << '\n';
    printLine(output, "link", linkText(iface));
    printLine(output, "configured", settingsText(configured.value_or(IpSettings())) + "  (" + iface.networkFile + ')');
    printLine(output, "routes", orNone(iface.routes.get().value_or("")));
    if (!iface.macAddress.get()) {
        return;
    }
    printLine(output, "live", settingsText(iface.ipSettings.get().value_or(IpSettings())));
    const char* label = "addresses";
    for (const auto& address :
         iface.addresses.get().value_or(std::vector<velbase2::nsa::common::structs::IpAddress>())) {
        printLine(output, label, addressText(address));
        label = "";
    }
    printLine(output, "mac", iface.macAddress.get().value_or(""));
}

Json interfaceJson(const EthInterface& iface, const std::optional<IpSettings>& configured)
{
    const bool isPresent = iface.macAddress.get().has_value();
    return {{"present", isPresent},
            {"networkFile", iface.networkFile},
            {"configured", toJson(configured)},
            {"routes", toJson(iface.routes.get())},
            {"live", isPresent ? toJson(iface.ipSettings.get()) : Json()},
            {"addresses", toJson(iface.addresses.get())},
            {"mac", toJson(iface.macAddress.get())},
            {"link", toJson(iface.link.get())},
            {"speed", toJson(iface.speed.get())},
            {"duplex", toJson(iface.duplex.get())}};
}

} // namespace

void printStatus(std::ostream& output, const std::vector<std::string>& interfaceNames, bool json)
{
    networkmanager::detail::NetworkManager<networkmanager::NetworkManagerData> manager;
    auto& interfaces = manager.getInterfaces();
    auto& host = manager.getSignals();
    Configured configured;
    for (const auto& [name, iface] : interfaces) {
        configured[name] = iface.ipSettings.get();
    }
    // One pass on this thread: start() and stop() would take the manager's period of 2 seconds.
    const auto system = networkmanager::SystemIF_Factory();
    networkmanager::Refresher(host, interfaces, *system).refresh();

    const auto isWanted = [&interfaceNames](const std::string& name) {
        return interfaceNames.empty() ||
               std::find(interfaceNames.begin(), interfaceNames.end(), name) != interfaceNames.end();
    };
    if (json) {
        Json status = {{"host", {{"hostname", host.hostname.get()}, {"gateway", host.gateway.get()}}},
                       {"interfaces", Json::object()}};
        for (const auto& [name, iface] : interfaces) {
            if (isWanted(name)) {
                status["interfaces"][name] = interfaceJson(iface, configured[name]);
            }
        }
        output << dump(status, 2) << '\n';
        return;
    }
    output << colored(Color::Bold, "host") << '\n';
    printLine(output, "name", orNone(host.hostname.get()));
    printLine(output, "gateway", orNone(host.gateway.get()));
    for (const auto& [name, iface] : interfaces) {
        if (isWanted(name)) {
            printInterface(output, iface, configured[name]);
        }
    }
}

} // namespace velnetctl
