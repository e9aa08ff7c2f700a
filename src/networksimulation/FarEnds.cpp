// SPDX-License-Identifier: MIT
#include "networksimulation/FarEnds.h"

namespace networksimulation {

void FarEnds::setDhcpServer(const std::string& interfaceName, const DhcpServer& server)
{
    if (server.address.empty()) {
        dhcpServers_.erase(interfaceName);
    } else {
        dhcpServers_[interfaceName] = server;
    }
}

std::optional<DhcpServer> FarEnds::dhcpServer(const std::string& interfaceName) const
{
    const auto server = dhcpServers_.find(interfaceName);
    return server == dhcpServers_.end() ? std::nullopt : std::optional(server->second);
}

void FarEnds::addNeighbour(const std::string& interfaceName, const std::string& address)
{
    neighbours_.insert({interfaceName, address});
}

void FarEnds::removeNeighbour(const std::string& interfaceName, const std::string& address)
{
    neighbours_.erase({interfaceName, address});
}

bool FarEnds::hasNeighbour(const std::string& interfaceName, const std::string& address) const
{
    return neighbours_.count({interfaceName, address}) > 0;
}

} // namespace networksimulation
