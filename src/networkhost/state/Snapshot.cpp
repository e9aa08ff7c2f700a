// SPDX-License-Identifier: MIT
#include "networkhost/state/Snapshot.h"

#include "networkhost/state/Backend.h"
#include "networkhost/state/Cells.h"
#include "networkhost/state/DaemonHealth.h"
#include "networkhost/state/Json.h"
#include "networkhost/state/Missing.h"
#include "networkhost/state/Text.h"
#include "networkmanager/EthernetInterfaces.h"
#include "networkmanager/Refresher.h"

#include <algorithm>

#include <boost/algorithm/string/join.hpp>

namespace networkhost {

using networkmanager::EthInterface;

namespace {

Json jsonOf(const TrialState& trial)
{
    const auto left = trial.isPending() ? std::max<long long>(trial.left.count(), 0) : 0;
    return {{"pending", trial.isPending()},
            {"state", nameOf(trial.kind)},
            {"title", trial.title},
            {"by", trial.by},
            {"secondsLeft", static_cast<double>(left) / 1000},
            {"files", trial.files},
            {"why", trial.why}};
}

Json jsonOf(const EthInterface& iface, const Snapshot& snapshot)
{
    const auto configuration = onlyInterface(snapshot.configured, iface.name);
    const auto& configured = configuration.interfaces.at(iface.name);
    const auto& live = snapshot.live.interfaces.at(iface.name);
    Json json = {{"present", live.isPresent},
                 {"networkFile", iface.networkFile},
                 {"configured", networkhost::jsonOf(configured)},
                 {"configuredAddresses", configured.addresses},
                 {"configuredServers", configured.dnsServers},
                 {"configuredDomains", configured.searchDomains},
                 {"files", configured.files},
                 {"unused", configured.unused},
                 {"unread", configured.unread},
                 {"ignored", configured.ignored},
                 {"networkd", live.networkd}};
    forEachCell(iface, [&json](const char* name, const auto& cell) { json[name] = networkhost::jsonOf(cell.get()); });
    if (!live.isPresent) {
        json["live"] = nullptr; // the cell has the settings of the files
    }
    json["liveRoutes"] = Json::array();
    for (const auto& route : live.routes) {
        json["liveRoutes"].push_back(toText(route));
    }
    json["lacks"] = missing(configuration, snapshot.live);
    return json;
}

std::vector<std::string> namesOf(const std::map<std::string, EthInterface>& interfaces)
{
    std::vector<std::string> names;
    names.reserve(interfaces.size());
    for (const auto& entry : interfaces) {
        names.push_back(entry.first);
    }
    return names;
}

} // namespace

Snapshot readSnapshot(IDevice& device)
{
    HostSignals host;
    auto interfaces = networkmanager::EthernetInterfaces().interfaces;
    for (auto& entry : interfaces) {
        Backend(device.files()).load(entry.second);
    }
    // One pass on this thread: a manager's start() and stop() would take its period of 2 seconds.
    networkmanager::Refresher(host, interfaces, device.system()).refresh();
    return readSnapshot(device, host, interfaces, readConfiguration(device.files()));
}

Snapshot readSnapshot(IDevice& device, const HostSignals& host, const std::map<std::string, EthInterface>& interfaces,
                      const Configuration& configured)
{
    Snapshot snapshot{host.hostname.get(),   host.gateway.get(), interfaces,        configured,
                      readLiveState(device), device.daemons(),   trialState(device)};
    for (auto& entry : snapshot.interfaces) {
        auto loaded = entry.second;
        Backend(device.files()).load(loaded);
        entry.second.routes.assign_and_signal(loaded.routes.get().value_or(""));
    }
    return snapshot;
}

std::string toJson(const Snapshot& snapshot, const std::vector<std::string>& interfaceNames, int indentation)
{
    const auto& configured = snapshot.configured;
    const auto& live = snapshot.live;
    Json json = {{"trial", snapshot.trial.isPending() ? jsonOf(snapshot.trial) : Json()},
                 {"host", {{"hostname", snapshot.hostname}, {"gateway", snapshot.gateway}}},
                 {"resolver",
                  {{"configured", {{"servers", configured.dnsServers}, {"domains", configured.searchDomains}}},
                   {"live", {{"servers", live.dnsServers}, {"domains", live.searchDomains}}}}},
                 {"daemons", Json::array()},
                 {"interfaces", Json::object()}};
    for (const auto& daemon : snapshot.daemons) {
        json["daemons"].push_back({{"name", daemon.name},
                                   {"enabled", daemon.enabled},
                                   {"active", daemon.active},
                                   {"fault", boost::algorithm::join(faultsOf(daemon), "; ")}});
    }
    for (const auto& name : interfaceNames.empty() ? namesOf(snapshot.interfaces) : interfaceNames) {
        json["interfaces"][name] = jsonOf(snapshot.interfaces.at(name), snapshot);
    }
    return dump(json, indentation);
}

std::string toJson(const TrialState& trial, int indentation)
{
    return dump(jsonOf(trial), indentation);
}

} // namespace networkhost
