// SPDX-License-Identifier: MIT
#include "networkhost/state/LiveState.h"

#include "base/Paths.h"
#include "networkhost/text/Addresses.h"
#include "networkhost/text/Words.h"
#include "networkmanager/BuiltInInterfaces.h"
#include "networkmanager/system/Helper.h"

#include <sstream>

namespace networkhost {

namespace helper = networkmanager::helper;
namespace paths = velbase2::system::paths;

namespace {

Lease readLease(IDevice& device, const std::string& interfaceName)
{
    const auto index = device.system().readFile(paths::kInterfaceStates + interfaceName + "/ifindex");
    Lease lease;
    for (const auto& line : linesOf(textOf(device.files(), paths::kLeases + index).value_or(""))) {
        const auto separator = line.find('=');
        const auto key = line.substr(0, separator);
        const auto words = wordsOf(separator == std::string::npos ? "" : line.substr(separator + 1));
        if (key == "DNS") {
            lease.dnsServers = words;
        } else if (key == "ADDRESS" && !words.empty()) {
            lease.address = words.front();
        } else if (key == "ROUTER" && !words.empty()) {
            lease.router = words.front();
        }
    }
    return lease;
}

/// The routes of the kernel's table that use the interface and have a gateway.
std::vector<Route> routesOf(const std::string& table, const std::string& interfaceName)
{
    std::vector<Route> routes;
    for (const auto& row : linesOf(table)) {
        std::istringstream fields(row);
        std::string name;
        std::string destination;
        std::string gateway;
        std::string skipped;
        std::string mask;
        fields >> name >> destination >> gateway >> skipped >> skipped >> skipped >> skipped >> mask;
        const Route route{withPrefixLength(helper::hex2ip(destination), helper::hex2ip(mask)), helper::hex2ip(gateway)};
        if (name == interfaceName && route.gateway != "0.0.0.0" && route.destination != "0.0.0.0/0") {
            routes.push_back(route);
        }
    }
    return routes;
}

void readResolver(const IFiles& files, LiveState& live)
{
    for (const auto& line : linesOf(textOf(files, paths::kResolverState).value_or(""))) {
        const auto words = wordsOf(line);
        for (std::size_t i = 1; i < words.size(); ++i) {
            if (words.front() == "nameserver") {
                live.dnsServers.push_back(words[i]);
            } else if (words.front() == "search" && words[i] != ".") { // "." means no search domain
                live.searchDomains.push_back(words[i]);
            }
        }
    }
}

} // namespace

LiveState readLiveState(IDevice& device)
{
    LiveState live;
    const auto& system = device.system();
    const auto table = textOf(device.files(), paths::kRouteTable).value_or("");
    for (const auto& builtIn : networkmanager::kBuiltInInterfaces) {
        auto& iface = live.interfaces[builtIn.name];
        iface.isPresent = !system.getMacAddress(builtIn.name).empty();
        iface.hasLink = system.getLink(builtIn.name);
        iface.addresses = system.getAddresses(builtIn.name);
        iface.lease = readLease(device, builtIn.name);
        iface.routes = routesOf(table, builtIn.name);
    }
    live.gateway = system.getGateway();
    readResolver(device.files(), live);
    return live;
}

} // namespace networkhost
