// SPDX-License-Identifier: MIT
#include "Status.h"

#include "Configured.h"
#include "Json.h"
#include "Snapshot.h"
#include "Text.h"
#include "Trial.h"
#include "networkhost/loop/Cells.h"
#include "networkhost/state/DaemonHealth.h"
#include "networkhost/state/Missing.h"
#include "networkhost/state/Text.h"
#include "networkhost/text/Checks.h"

#include <algorithm>
#include <iomanip>
#include <utility>

#include <boost/algorithm/string/join.hpp>

namespace velnetctl {

using networkhost::printable;
using networkhost::toText;
using networkhost::TrialState;
using networkmanager::EthInterface;

namespace {

bool contains(const std::vector<std::string>& names, const std::string& name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

Row stateOf(const TrialState& trial)
{
    switch (trial.kind) {
    case TrialState::Kind::Waiting:
        return {"state", "not live yet", {}, ", " + secondsText(trial.left) + " left to become live"};
    case TrialState::Kind::Counting:
        return {"state", "live", {}, ", " + secondsText(trial.left) + " left to confirm"};
    default:
        return {"state", nameOf(trial.kind), {}, {}};
    }
}

Section sectionOf(const TrialState& trial)
{
    if (trial.kind == TrialState::Kind::Unreadable) {
        return {"trial", {{"pending", printable(trial.text()), Color::Red, {}}}};
    }
    return {"trial",
            {{"pending", printable(trial.title), Color::Red, ", by " + printable(trial.by)},
             stateOf(trial),
             {"to keep it", "velnetctl confirm", {}, {}},
             {"to go back", "velnetctl rollback", {}, {}}}};
}

void printStatusText(Session& session, const Snapshot& snapshot, const TrialState& trial,
                     const std::vector<std::string>& interfaceNames)
{
    auto& output = session.output;
    const char* between = "";
    auto sections = sectionsOf(snapshot);
    if (trial.isPending()) {
        sections.insert(sections.begin(), sectionOf(trial));
    }
    for (auto& section : sections) {
        const bool isInterface = snapshot.interfaces.count(section.title) > 0;
        if (isInterface && !contains(interfaceNames, section.title)) {
            continue;
        }
        for (const auto& path :
             isInterface ? snapshot.configured.interfaces.at(section.title).files : std::vector<std::string>()) {
            section.rows.push_back({"files", printable(path), {}, {}});
        }
        output << std::exchange(between, "\n") << colored(Color::Bold, section.title) << '\n';
        std::string last;
        for (const auto& [label, text, color, more] : section.rows) {
            output << "  " << std::left << std::setw(12) << (label == last ? "" : label)
                   << (color ? colored(*color, text) : text) << more << '\n';
            last = label;
        }
    }
}

Json interfaceJson(const EthInterface& iface, const Snapshot& snapshot)
{
    const auto configuration = onlyInterface(snapshot.configured, iface.name);
    const auto& configured = configuration.interfaces.at(iface.name);
    const auto& live = snapshot.live.interfaces.at(iface.name);
    Json json = {{"present", live.isPresent},
                 {"networkFile", iface.networkFile},
                 {"configured", toJson(settingsOf(configured))},
                 {"configuredAddresses", configured.addresses},
                 {"configuredServers", configured.dnsServers},
                 {"configuredDomains", configured.searchDomains},
                 {"files", configured.files},
                 {"unread", configured.unread},
                 {"ignored", configured.ignored},
                 {"networkd", live.networkd}};
    networkhost::forEachCell(iface, [&json](const char* name, const auto& cell) { json[name] = toJson(cell.get()); });
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

void printStatusJson(Session& session, const Snapshot& snapshot, const TrialState& trial,
                     const std::vector<std::string>& interfaceNames)
{
    Json status = {
        {"trial", trial.isPending() ? toJson(trial) : Json()},
        {"host", {{"hostname", snapshot.hostname}, {"gateway", snapshot.gateway}}},
        {"resolver",
         {{"configured", {{"servers", snapshot.configured.dnsServers}, {"domains", snapshot.configured.searchDomains}}},
          {"live", {{"servers", snapshot.live.dnsServers}, {"domains", snapshot.live.searchDomains}}}}},
        {"daemons", Json::array()},
        {"interfaces", Json::object()}};
    for (const auto& daemon : snapshot.daemons) {
        status["daemons"].push_back({{"name", daemon.name},
                                     {"enabled", daemon.enabled},
                                     {"active", daemon.active},
                                     {"fault", boost::algorithm::join(networkhost::faultsOf(daemon), "; ")}});
    }
    for (const auto& name : interfaceNames) {
        status["interfaces"][name] = interfaceJson(snapshot.interfaces.at(name), snapshot);
    }
    session.output << dump(status, 2) << '\n';
}

} // namespace

void printStatus(Session& session, const std::vector<std::string>& interfaceNames, bool json)
{
    const auto snapshot = readSnapshot(session.device);
    std::vector<std::string> names;
    for (const auto& entry : snapshot.interfaces) {
        if (interfaceNames.empty() || contains(interfaceNames, entry.first)) {
            names.push_back(entry.first);
        }
    }
    (json ? printStatusJson : printStatusText)(session, snapshot, trialState(session.device), names);
}

} // namespace velnetctl
