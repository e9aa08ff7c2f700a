// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/IpAddress.h"
#include "../device/IDevice.h"
#include "Configuration.h"

#include <map>
#include <string>
#include <vector>

namespace networkhost {

/// What a DHCP server gave; all empty without a lease.
struct Lease
{
    std::string address;
    std::string router;
    std::vector<std::string> dnsServers;
};

/// What the kernel and systemd-networkd tell about one interface. Empty texts when networkd does not tell.
struct LiveInterface
{
    bool isPresent = false;
    bool hasLink = false;
    std::vector<velbase2::nsa::common::structs::IpAddress> addresses; // in the kernel's order
    Lease lease;
    std::vector<Route> routes; // those with a gateway, except the default route
    std::string networkd;      // networkd's word for its state: "configured", "configuring", "failed", "unmanaged"
    std::string networkFile;   // that networkd has chosen for it
};

struct LiveState
{
    std::map<std::string, LiveInterface> interfaces; // by name
    std::string gateway;                             // of the interface that holds it; empty for none
    std::vector<std::string> dnsServers;             // that systemd-resolved asks, those of leases included
    std::vector<std::string> searchDomains;
};

/// Reads what is live now. A value that cannot be read stays empty.
LiveState readLiveState(IDevice& device);

} // namespace networkhost
