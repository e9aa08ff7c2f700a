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
    std::string name;           // the kernel's name and the key of the registry
    std::string networkFile;    // file name below /etc/systemd/network/
    bool dhcpSupported = false; // may be switched to DHCP
    bool holdsGateway = false;  // its file has the default gateway; true for at most one interface
    bool intComIf = false;      // for internal communication: its file gets link-local IPv6 and multicast DNS
};

/// One interface with its description and its live state. A copy has the values of the cells, but not their
/// subscribers. For threads see Value.
struct EthInterface : EthParams
{
    template <class X>
    using Cell = velbase2::system::signals::Value<std::optional<X>, velbase2::system::signals::AssignOnlyOnChange<2>>;

    Cell<std::vector<velbase2::nsa::common::structs::IpAddress>> addresses; // all addresses in the kernel's order
    Cell<velbase2::nsa::common::IpSettings> ipSettings;                     // configured; live after the first refresh
    Cell<std::string> macAddress;                                           // in lower case, from sysfs
    Cell<bool> link;                                                        // true: up
    Cell<std::string> speed;  // in Mbit/s, from sysfs; "0" while the link is down
    Cell<std::string> duplex; // from sysfs
    Cell<std::string> routes; // static routes: "dst=...,gw=...", or the text given to setRoutes
};

} // namespace networkmanager
