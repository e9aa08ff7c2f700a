// SPDX-License-Identifier: MIT
#pragma once

#include "../base/IpAddress.h"
#include "../base/IpSettings.h"
#include "../base/Value.h"

#include <optional>
#include <string>
#include <vector>

namespace networkmanager {

/// The fixed description of one interface.
struct EthParams
{
    std::string name;           // as the kernel knows it; the key of the registry
    std::string networkFile;    // file name below /etc/systemd/network/
    bool dhcpSupported = false; // may be switched to DHCP
    bool holdsGateway = false;  // the default gateway is written into its file; one interface at most
    bool intComIf = false;      // internal communication: its file gets link-local IPv6 and multicast DNS
};

/// One interface: its description and its live state. A copy has the values of the cells, but no subscribers.
/// For threads see Value.
struct EthInterface : EthParams
{
    template <class X>
    using Cell = velbase2::system::signals::Value<std::optional<X>, velbase2::system::signals::AssignOnlyOnChange<2>>;

    Cell<std::vector<velbase2::nsa::common::structs::IpAddress>> addresses; // all that the kernel reports, in its order
    Cell<velbase2::nsa::common::IpSettings> ipSettings; // the configured ones, live from the first refresh on
    Cell<std::string> macAddress;                       // lower case, as sysfs has it
    Cell<bool> link;                                    // true: up
    Cell<std::string> speed;                            // Mbit/s as sysfs has it; "0" while the link is down
    Cell<std::string> duplex;                           // as sysfs has it
    Cell<std::string> routes;                           // static routes: "dst=...,gw=..." or as setRoutes got them
};

} // namespace networkmanager
