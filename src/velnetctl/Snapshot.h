// SPDX-License-Identifier: MIT
#pragma once

#include "Text.h"
#include "networkhost/device/IDevice.h"
#include "networkhost/state/Configuration.h"
#include "networkhost/state/LiveState.h"
#include "networkmanager/EthernetInterfaces.h"
#include "networkmanager/HostSignals.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velnetctl {

/// All that is shown of a device, of one moment.
struct Snapshot
{
    HostSignals host;
    std::map<std::string, networkmanager::EthInterface> interfaces = networkmanager::EthernetInterfaces().interfaces;
    networkhost::Configuration configured;
    networkhost::LiveState live;
    std::vector<networkhost::DaemonState> daemons;
};

/// Reads everything once, without a manager's thread.
void read(networkhost::IDevice& device, Snapshot& snapshot);

/// "link        up, 1000 Mbit/s", without control characters.
struct Row
{
    std::string label;
    std::string text;
    std::optional<Color> color; // of the text
    std::string more;           // after it, without colour
};

/// The rows of the host, the resolver or an interface. Several addresses are several rows of one label.
struct Section
{
    std::string title;
    std::vector<Row> rows;
};

/// Of the host, the resolver, the daemons that something is wrong with, and each interface by name.
std::vector<Section> sectionsOf(const Snapshot& snapshot);

} // namespace velnetctl
