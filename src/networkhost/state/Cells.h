// SPDX-License-Identifier: MIT
#pragma once

#include "../../networkmanager/EthInterface.h"
#include "../../networkmanager/HostSignals.h"

#include <optional>
#include <string>

namespace networkhost {

/// Calls visit(name, cell) for each cell of an interface, in the order in which a refresh assigns them. The name is
/// what velnetctl calls the cell.
template <class Interface, class Visit>
void forEachCell(Interface& iface, Visit&& visit)
{
    visit("mac", iface.macAddress);
    visit("addresses", iface.addresses);
    visit("live", iface.ipSettings);
    visit("link", iface.link);
    visit("speed", iface.speed);
    visit("duplex", iface.duplex);
    visit("routes", iface.routes);
}

/// The same for the cells of the host.
template <class Visit>
void forEachCell(HostSignals& host, Visit&& visit)
{
    visit("gateway", host.gateway);
    visit("hostname", host.hostname);
}

/// Connects report(source, name, content) to every cell of a manager, as a slot. The source is the name of the
/// interface, or "host". Objects that the function refers to must outlive the manager.
template <class Manager, class Report>
void connectToEachCell(Manager& manager, Report report)
{
    for (auto& entry : manager.getInterfaces()) {
        forEachCell(entry.second, [&report, source = entry.first](const char* name, auto& cell) {
            cell.connect([report, source, name](const auto& content) {
                if (content) {
                    report(source, name, *content);
                }
            });
        });
    }
    forEachCell(manager.getSignals(), [&report](const char* name, auto& cell) {
        cell.connect([report, name](const std::string& content) { report(std::string("host"), name, content); });
    });
}

} // namespace networkhost
