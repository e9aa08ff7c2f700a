// SPDX-License-Identifier: MIT
#include "Sections.h"

#include "Configured.h"
#include "networkhost/state/DaemonHealth.h"
#include "networkhost/state/Missing.h"
#include "networkhost/state/Text.h"
#include "networkhost/text/Checks.h"

namespace velnetctl {

using networkhost::printable;
using networkhost::Snapshot;
using networkhost::toText;
using networkmanager::EthInterface;
using velbase2::nsa::common::IpSettings;

namespace {

Row linkRow(const EthInterface& iface)
{
    if (!iface.link.get().value_or(false)) {
        return {"link", "down", Color::Red, {}};
    }
    Row row{"link", "up", Color::Green, {}};
    if (const auto speed = iface.speed.get().value_or(""); !speed.empty()) {
        row.more += ", " + printable(speed) + " Mbit/s";
    }
    if (const auto duplex = iface.duplex.get().value_or(""); !duplex.empty()) {
        row.more += ", " + printable(duplex) + " duplex";
    }
    return row;
}

Section sectionOf(const EthInterface& iface, const Snapshot& snapshot)
{
    const auto configuration = onlyInterface(snapshot.configured, iface.name);
    const auto& configured = configuration.interfaces.at(iface.name);
    const auto& live = snapshot.live.interfaces.at(iface.name);
    Section section{iface.name, {live.isPresent ? linkRow(iface) : Row{"link", "absent", Color::Red, {}}}};
    const auto add = [&section](const char* label, const std::string& text) {
        section.rows.push_back({label, text, {}, {}});
    };
    add("configured", configuredText(configured) + "  (" + iface.networkFile + ')');
    add("routes", printable(toText(iface.routes.get().value_or(""))));
    for (const auto* const sentences : {&configured.unread, &configured.ignored}) {
        for (const auto& sentence : *sentences) {
            section.rows.push_back({"note", printable(sentence), Color::Red, {}});
        }
    }
    if (configured.files.empty() && !live.networkFile.empty()) {
        section.rows.push_back(
            {"note",
             "systemd-networkd uses " + printable(live.networkFile) + ", which this library does not read",
             Color::Red,
             {}});
    }
    if (!live.isPresent) {
        return section;
    }
    add("networkd", printable(toText(live.networkd)));
    add("live", toText(iface.ipSettings.get().value_or(IpSettings())));
    for (const auto& address : live.addresses) {
        add("addresses", toText(std::vector{address}));
    }
    add("mac", printable(iface.macAddress.get().value_or("")));
    if (const auto lacking = missing(configuration, snapshot.live); !lacking.empty()) {
        section.rows.push_back({"lacks", printable(lacking), Color::Red, {}});
    }
    return section;
}

} // namespace

std::vector<Section> sectionsOf(const Snapshot& snapshot)
{
    const auto& [interfaces, servers, domains] = snapshot.configured;
    std::vector<Section> sections{
        {"host",
         {{"name", printable(toText(snapshot.hostname)), {}, {}}, {"gateway", toText(snapshot.gateway), {}, {}}}},
        {"resolver",
         {{"configured", resolverText(servers, domains), {}, {}},
          {"live", resolverText(snapshot.live.dnsServers, snapshot.live.searchDomains), {}, {}}}}};
    Section daemons{"daemons", {}};
    for (const auto& daemon : snapshot.daemons) {
        for (const auto& fault : networkhost::faultsOf(daemon)) {
            daemons.rows.push_back({"fault", printable(fault), Color::Red, {}});
        }
    }
    if (!daemons.rows.empty()) {
        sections.push_back(daemons);
    }
    for (const auto& entry : snapshot.interfaces) {
        sections.push_back(sectionOf(entry.second, snapshot));
    }
    return sections;
}

} // namespace velnetctl
