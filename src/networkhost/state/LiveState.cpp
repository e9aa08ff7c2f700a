// SPDX-License-Identifier: MIT
#include "networkhost/state/LiveState.h"

#include "base/Paths.h"
#include "networkhost/text/Addresses.h"
#include "networkhost/text/Words.h"
#include "networkmanager/BuiltInInterfaces.h"
#include "networkmanager/system/Helper.h"

#include <sstream>
#include <string_view>

namespace networkhost {

namespace helper = networkmanager::helper;
namespace paths = velbase2::system::paths;

namespace {

/// The values of a file with lines such as "DNS=192.168.50.1".
std::map<std::string, std::string> readValues(const IReadableFiles& files, const std::string& path)
{
    std::map<std::string, std::string> values;
    for (const auto& line : linesOf(textOf(files, path).value_or(""))) {
        const auto separator = line.find('=');
        if (separator != std::string::npos) {
            values[line.substr(0, separator)] = line.substr(separator + 1);
        }
    }
    return values;
}

std::string firstWord(const std::string& text)
{
    const auto words = wordsOf(text);
    return words.empty() ? std::string() : words.front();
}

/// The gateway that systemd-networkd takes from a lease. With classless routes, such as "10.0.0.0/8,192.168.50.2
/// 0.0.0.0/0,192.168.50.3", it ignores the router.
std::string leasedGateway(const std::string& router, const std::string& classlessRoutes)
{
    constexpr std::string_view kDefault = "0.0.0.0/0,";
    if (classlessRoutes.empty()) {
        return firstWord(router);
    }
    for (const auto& route : wordsOf(classlessRoutes)) {
        if (startsWith(route, kDefault)) {
            return route.substr(kDefault.size());
        }
    }
    return {};
}

/// Reads what systemd-networkd tells.
void readNetworkd(IDevice& device, const std::string& interfaceName, LiveInterface& iface)
{
    const auto index = device.system().readFile(paths::kInterfaceStates + interfaceName + "/ifindex");
    auto lease = readValues(device.files(), paths::kLeases + index);
    iface.lease = {firstWord(lease["ADDRESS"]), leasedGateway(lease["ROUTER"], lease["CLASSLESS_ROUTES"]),
                   wordsOf(lease["DNS"])};
    auto link = readValues(device.files(), paths::kLinks + index);
    iface.networkd = link["ADMIN_STATE"];
    iface.networkFile = link["NETWORK_FILE"];
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
        iface.addresses = device.addressesOf(builtIn.name);
        readNetworkd(device, builtIn.name, iface);
        iface.routes = routesOf(table, builtIn.name);
    }
    live.gateway = system.getGateway();
    readResolver(device.files(), live);
    return live;
}

} // namespace networkhost
