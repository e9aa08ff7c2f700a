// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace networksimulation {

/// The lease that a DHCP server at the far end of an interface gives.
struct DhcpServer
{
    std::string address;
    std::string mask;
    std::string router;
    std::vector<std::string> dnsServers;
};

/// The networks at the far ends of the cables of a simulated device: DHCP servers and neighbours. Not thread-safe.
class FarEnds
{
public:
    /// A server with an empty address takes the present one away.
    void setDhcpServer(const std::string& interfaceName, const DhcpServer& server);
    std::optional<DhcpServer> dhcpServer(const std::string& interfaceName) const;

    void addNeighbour(const std::string& interfaceName, const std::string& address);
    void removeNeighbour(const std::string& interfaceName, const std::string& address);
    bool hasNeighbour(const std::string& interfaceName, const std::string& address) const;

private:
    std::map<std::string, DhcpServer> dhcpServers_;            // by interface
    std::set<std::pair<std::string, std::string>> neighbours_; // interface, address
};

} // namespace networksimulation
