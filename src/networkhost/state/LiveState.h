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
    std::string router; // that systemd-networkd uses: classless routes hide the router of the lease
    std::vector<std::string> dnsServers;
};

/// The state of one interface in the kernel and in systemd-networkd. The texts of networkd are empty when it does not
/// run.
struct LiveInterface
{
    bool isPresent = false;
    bool hasLink = false;
    std::vector<velbase2::nsa::common::structs::IpAddress> addresses; // in the kernel's order
    Lease lease;
    std::vector<Route> routes; // those with a gateway, except the default route
    std::string networkd;      // networkd's word for its state: "configured", "configuring", "failed", "unmanaged"
    std::string networkFile;   // the file that networkd uses for this interface
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
