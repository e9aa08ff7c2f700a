// SPDX-License-Identifier: MIT
#pragma once

#include "../base/IpAddress.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace networksimulation {

/// An IPv4 address of an interface.
struct KernelAddress
{
    std::string address;
    std::string mask;
    int metric = 0;        // of the route to its network
    bool isByHand = false; // not systemd-networkd's
};

struct KernelInterface
{
    int index = 0;
    std::string macAddress;
    std::vector<KernelAddress> addresses;
    std::string speed = "10000";
    std::string duplex = "full";
    bool isPresent = true;
    bool hasCable = true;
    int carrierDowns = 1; // the kernel's counters since the interface was created
    int carrierUps = 1;
};

struct KernelRoute
{
    std::string interfaceName;
    std::string destination;
    std::string mask;
    std::string gateway; // "0.0.0.0": reached directly
    int metric = 0;
    bool isOnLink = false; // the gateway counts as reached directly, whatever the addresses
};

/// Interfaces, addresses and routes, and how the kernel shows them. Not thread-safe.
class Kernel
{
public:
    std::map<std::string, KernelInterface> interfaces; // by name
    std::vector<KernelRoute> routes;                   // without those to the networks of the addresses

    // Hardware and people. Unknown interfaces throw std::out_of_range.

    /// Returns false when nothing changes.
    bool setCable(const std::string& interfaceName, bool isPlugged);

    /// An interface that vanishes loses its addresses; the daemon sees to the routes. Returns false when it stays as it
    /// is.
    bool setPresent(const std::string& interfaceName, bool isPresent);

    /// Does what "ip address add" does. Throws std::invalid_argument unless the text is an address and its prefix
    /// length.
    void addAddress(const std::string& interfaceName, const std::string& address);

    // Outputs of the kernel

    /// Returns IPv4 addresses first, then the link-local address of IPv6. An absent interface has none.
    std::vector<velbase2::nsa::common::structs::IpAddress> addressesOf(const std::string& interfaceName) const;

    /// Returns the text of /proc/net/route.
    std::string routeTable() const;

    /// Returns the text of a file in /sys/class/net/NAME/. It is empty when there is no such file.
    std::string attribute(const std::string& interfaceName, const std::string& name) const;

    /// Whether the interface is in one network with the gateway.
    bool reaches(const std::string& interfaceName, const std::string& gateway) const;

    // Actions of daemons and commands

    /// Does what "route add default gw" does. Returns the text of its failure, which is empty when it succeeds.
    std::string addDefaultRoute(const std::string& gateway);

    /// Does what "ip route flush 0/0" does.
    void flushDefaultRoutes();

    /// Takes from the interface the IPv4 addresses and routes for which the predicates are true.
    void strip(const std::string& interfaceName, const std::function<bool(const KernelAddress&)>& goes,
               const std::function<bool(const KernelRoute&)>& routeGoes);

private:
    std::vector<KernelRoute> allRoutes() const;
};

} // namespace networksimulation
