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

using Interfaces = std::map<std::string, networkmanager::EthInterface>;

/// Everything that velnetctl shows of a device at one moment.
struct Snapshot
{
    std::string hostname;
    std::string gateway;
    Interfaces interfaces; // cells keep their values when the interface is gone: see LiveInterface::isPresent
    networkhost::Configuration configured;
    networkhost::LiveState live;
    std::vector<networkhost::DaemonState> daemons;
};

/// Reads everything once, without a manager's thread.
Snapshot readSnapshot(networkhost::IDevice& device);

/// Copies cells and a configuration that have just been read, and reads the rest.
Snapshot readSnapshot(networkhost::IDevice& device, const HostSignals& host, const Interfaces& interfaces,
                      const networkhost::Configuration& configured);

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

/// The sections of the host, the resolver, the daemons with a fault, and each interface in the order of the names.
std::vector<Section> sectionsOf(const Snapshot& snapshot);

} // namespace velnetctl
