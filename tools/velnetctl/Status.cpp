// SPDX-License-Identifier: MIT
#include "Status.h"

#include "Configured.h"
#include "Json.h"
#include "Text.h"
#include "networkhost/Backend.h"
#include "networkhost/Cells.h"
#include "networkhost/Checks.h"
#include "networkhost/Configuration.h"
#include "networkhost/LiveState.h"
#include "networkhost/Missing.h"
#include "networkhost/Text.h"
#include "networkmanager/EthernetInterfaces.h"
#include "networkmanager/Refresher.h"

#include <algorithm>
#include <iomanip>
#include <map>

namespace velnetctl {

using networkhost::toText;
using networkmanager::EthInterface;
using velbase2::nsa::common::IpSettings;

namespace {

/// All that status shows, of one moment.
struct Snapshot
{
    HostSignals host;
    std::map<std::string, EthInterface> interfaces = networkmanager::EthernetInterfaces().interfaces;
    networkhost::Configuration configured;
    networkhost::LiveState live;
};

void read(networkhost::IDevice& device, Snapshot& snapshot)
{
    for (auto& entry : snapshot.interfaces) {
        networkhost::Backend(device.files()).load(entry.second);
    }
    // One pass on this thread: a manager's start() and stop() would take its period of 2 seconds.
    networkmanager::Refresher(snapshot.host, snapshot.interfaces, device.system()).refresh();
    snapshot.configured = networkhost::readConfiguration(device.files());
    snapshot.live = networkhost::readLiveState(device);
}

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
        text += ", " + networkhost::printable(speed) + " Mbit/s";
    }
    if (const auto duplex = iface.duplex.get().value_or(""); !duplex.empty()) {
        text += ", " + networkhost::printable(duplex) + " duplex";
    }
    return text;
}

void printInterface(std::ostream& output, const EthInterface& iface, const Snapshot& snapshot)
{
    const auto configuration = onlyInterface(snapshot.configured, iface.name);
    const auto& configured = configuration.interfaces.at(iface.name);
    output << '\n' << colored(Color::Bold, iface.name) << '\n';
    printLine(output, "link", linkText(iface));
    printLine(output, "configured", configuredText(configured) + "  (" + iface.networkFile + ')');
    printLine(output, "routes", networkhost::printable(toText(iface.routes.get().value_or(""))));
    if (!iface.macAddress.get()) {
        return;
    }
    printLine(output, "live", toText(iface.ipSettings.get().value_or(IpSettings())));
    const char* label = "addresses";
    for (const auto& address : snapshot.live.interfaces.at(iface.name).addresses) {
        printLine(output, label, toText(std::vector{address}));
        label = "";
    }
    printLine(output, "mac", networkhost::printable(iface.macAddress.get().value_or("")));
    if (const auto lacking = missing(configuration, snapshot.live); !lacking.empty()) {
        printLine(output, "lacks", colored(Color::Red, networkhost::printable(lacking)));
    }
}

void printText(Session& session, const Snapshot& snapshot, const std::vector<std::string>& interfaceNames)
{
    auto& output = session.output;
    output << colored(Color::Bold, "host") << '\n';
    printLine(output, "name", networkhost::printable(toText(snapshot.host.hostname.get())));
    printLine(output, "gateway", toText(snapshot.host.gateway.get()));
    output << '\n' << colored(Color::Bold, "resolver") << '\n';
    const auto& [interfaces, servers, domains] = snapshot.configured;
    printLine(output, "configured", resolverText(servers, domains));
    printLine(output, "live", resolverText(snapshot.live.dnsServers, snapshot.live.searchDomains));
    for (const auto& name : interfaceNames) {
        printInterface(output, snapshot.interfaces.at(name), snapshot);
    }
}

Json interfaceJson(const EthInterface& iface, const Snapshot& snapshot)
{
    const auto configuration = onlyInterface(snapshot.configured, iface.name);
    const auto& configured = configuration.interfaces.at(iface.name);
    Json json = {{"present", iface.macAddress.get().has_value()},
                 {"networkFile", iface.networkFile},
                 {"configured", toJson(settingsOf(configured))},
                 {"configuredAddresses", configured.addresses}};
    networkhost::forEachCell(iface, [&json](const char* name, const auto& cell) { json[name] = toJson(cell.get()); });
    if (!iface.macAddress.get()) {
        json["live"] = nullptr; // the cell still holds what the files say
    }
    json["liveRoutes"] = Json::array();
    for (const auto& route : snapshot.live.interfaces.at(iface.name).routes) {
        json["liveRoutes"].push_back(toText(route));
    }
    json["lacks"] = missing(configuration, snapshot.live);
    return json;
}

void printJson(Session& session, const Snapshot& snapshot, const std::vector<std::string>& interfaceNames)
{
    Json status = {
        {"host", {{"hostname", snapshot.host.hostname.get()}, {"gateway", snapshot.host.gateway.get()}}},
        {"resolver",
         {{"configured", {{"servers", snapshot.configured.dnsServers}, {"domains", snapshot.configured.searchDomains}}},
          {"live", {{"servers", snapshot.live.dnsServers}, {"domains", snapshot.live.searchDomains}}}}},
        {"interfaces", Json::object()}};
    for (const auto& name : interfaceNames) {
        status["interfaces"][name] = interfaceJson(snapshot.interfaces.at(name), snapshot);
    }
    session.output << dump(status, 2) << '\n';
}

} // namespace

void printStatus(Session& session, const std::vector<std::string>& interfaceNames, bool json)
{
    Snapshot snapshot;
    read(session.device, snapshot);
    std::vector<std::string> names;
    for (const auto& entry : snapshot.interfaces) {
        const auto isNamed =
            std::find(interfaceNames.begin(), interfaceNames.end(), entry.first) != interfaceNames.end();
        if (interfaceNames.empty() || isNamed) {
            names.push_back(entry.first);
        }
    }
    (json ? printJson : printText)(session, snapshot, names);
}

} // namespace velnetctl
