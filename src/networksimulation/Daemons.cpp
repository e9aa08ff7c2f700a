// SPDX-License-Identifier: MIT
#include "networksimulation/Daemons.h"

#include "base/IpHelper.h"
#include "networkhost/text/Addresses.h"
#include "networkhost/text/NetworkAddress.h"

#include <algorithm>

#include <boost/algorithm/string/join.hpp>

namespace networksimulation {

using networkhost::ConfiguredInterface;
namespace iphelper = velbase2::system::iphelper;

namespace {

// The real daemons take these steps in this order after a restart, and need about these times.
constexpr std::chrono::milliseconds kAddresses(20);
constexpr std::chrono::milliseconds kRoutes(25);
constexpr std::chrono::milliseconds kLease(40);
constexpr std::chrono::milliseconds kResolver(10);
constexpr std::chrono::milliseconds kLossOfCarrier(5);

constexpr int kDhcpMetric = 1024;
constexpr const char* kDirect = "0.0.0.0";
constexpr const char* kHostMask = "255.255.255.255";

/// The address and the dotted mask of a canonical "10.0.0.2/8".
std::pair<std::string, std::string> split(const std::string& address)
{
    const auto slash = address.find('/');
    return {address.substr(0, slash), iphelper::subnetBitsToMask(std::stoi(address.substr(slash + 1)))};
}

networkhost::Route routeOf(const KernelRoute& route)
{
    return {networkhost::withPrefixLength(route.destination, route.mask), route.gateway};
}

bool everyAddress(const KernelAddress& /*own*/)
{
    return true;
}

bool everyRoute(const KernelRoute& /*route*/)
{
    return true;
}

} // namespace

Networkd::Networkd(Kernel& kernel, const networkhost::IReadableFiles& files, const FarEnds& farEnds, Schedule& schedule)
    : kernel_(kernel), files_(files), farEnds_(farEnds), schedule_(schedule)
{}

void Networkd::restart()
{
    configuration_ = networkhost::readConfiguration(files_);
    for (const auto& [name, iface] : kernel_.interfaces) {
        schedule_.cancel(name);
        leases_.erase(name);
        auto wanted = configuration_.interfaces.at(name);
        takeOverRoutes(name, wanted);
        if (iface.isPresent && iface.hasCable) {
            configure(name, wanted);
        }
    }
}

void Networkd::stop()
{
    for (const auto& [name, iface] : kernel_.interfaces) {
        schedule_.cancel(name);
        configuration_.interfaces[name] = {};
        kernel_.strip(name, everyAddress, everyRoute);
    }
    leases_.clear();
}

void Networkd::takeOverRoutes(const std::string& interfaceName, ConfiguredInterface& wanted)
{
    // At a restart, the real networkd keeps an existing route that the files still ask for, and does not check its
    // gateway. A route that is not on-link nevertheless disappears with its address. If networkd waits for a static
    // address, it adds the route again after that. Otherwise it believes that the route exists, and adds it again at
    // most with a lease.
    const auto stays = [&](const KernelRoute& route) {
        const auto entry = std::find(wanted.routes.begin(), wanted.routes.end(), routeOf(route));
        if (route.interfaceName != interfaceName || entry == wanted.routes.end()) {
            return false;
        }
        if (route.isOnLink || wanted.addresses.empty()) {
            wanted.routes.erase(entry);
        }
        return route.isOnLink;
    };
    kernel_.strip(interfaceName, everyAddress, [&stays](const KernelRoute& route) { return !stays(route); });
}

void Networkd::linkChanged(const std::string& interfaceName)
{
    const auto& iface = kernel_.interfaces.at(interfaceName);
    schedule_.cancel(interfaceName);
    const auto loseAll = [this, interfaceName] {
        leases_.erase(interfaceName);
        kernel_.strip(
            interfaceName, [](const KernelAddress& own) { return !own.isByHand; }, everyRoute);
    };
    if (iface.isPresent && iface.hasCable) {
        loseAll(); // the timer for the loss of carrier may still have been running
        configure(interfaceName, configuration_.interfaces.at(interfaceName));
    } else {
        schedule_.after(kLossOfCarrier, interfaceName, loseAll);
    }
}

void Networkd::configure(const std::string& interfaceName, const ConfiguredInterface& wanted)
{
    schedule_.after(kAddresses, interfaceName,
                    [this, interfaceName, wanted] { assignAddresses(interfaceName, wanted); });
    schedule_.after(kRoutes, interfaceName, [this, interfaceName, wanted] { addRoutes(interfaceName, wanted); });
    const auto server = farEnds_.dhcpServer(interfaceName);
    if (wanted.dhcp && server) {
        schedule_.after(kLease, interfaceName, [this, interfaceName, server] { acquireLease(interfaceName, *server); });
    }
}

void Networkd::assignAddresses(const std::string& interfaceName, const ConfiguredInterface& wanted)
{
    for (const auto& address : wanted.addresses) {
        const auto own = networkhost::NetworkAddress::parse(address);
        kernel_.interfaces.at(interfaceName).addresses.push_back({own->address(), own->mask()});
    }
}

void Networkd::addRoutes(const std::string& interfaceName, const ConfiguredInterface& wanted)
{
    auto routes = wanted.routes;
    if (!wanted.gateway.empty()) {
        routes.push_back({"0.0.0.0/0", wanted.gateway});
    }
    // Without a static address, networkd has the kernel take every gateway for one that is reached directly.
    const bool isOnLink = wanted.addresses.empty();
    for (const auto& route : routes) {
        // The kernel refuses a route whose gateway it does not reach, and networkd does not try again.
        if (isOnLink || kernel_.reaches(interfaceName, route.gateway)) {
            const auto [destination, mask] = split(route.destination);
            kernel_.routes.push_back({interfaceName, destination, mask, route.gateway, 0, isOnLink});
        }
    }
}

void Networkd::acquireLease(const std::string& interfaceName, const DhcpServer& server)
{
    leases_[interfaceName] = server;
    kernel_.interfaces.at(interfaceName).addresses.push_back({server.address, server.mask, kDhcpMetric, false});
    if (!server.router.empty() && configuration_.interfaces.at(interfaceName).usesLeasedGateway) {
        kernel_.routes.push_back({interfaceName, kDirect, kDirect, server.router, kDhcpMetric});
        kernel_.routes.push_back({interfaceName, server.router, kHostMask, kDirect, kDhcpMetric});
    }
    addLostRoutes(interfaceName);
}

void Networkd::addLostRoutes(const std::string& interfaceName)
{
    for (const auto& route : configuration_.interfaces.at(interfaceName).routes) {
        const bool isThere = std::any_of(kernel_.routes.begin(), kernel_.routes.end(), [&](const KernelRoute& present) {
            return present.interfaceName == interfaceName && routeOf(present) == route;
        });
        if (!isThere && kernel_.reaches(interfaceName, route.gateway)) {
            const auto [destination, mask] = split(route.destination);
            kernel_.routes.push_back({interfaceName, destination, mask, route.gateway, 0, true});
        }
    }
}

std::string Networkd::leaseFile(const std::string& index) const
{
    for (const auto& [name, lease] : leases_) {
        if (std::to_string(kernel_.interfaces.at(name).index) == index) {
            return "# This is private data. Do not parse.\nADDRESS=" + lease.address + "\nNETMASK=" + lease.mask +
                   "\nROUTER=" + lease.router + "\nDNS=" + boost::algorithm::join(lease.dnsServers, " ") + '\n';
        }
    }
    return {};
}

std::string Networkd::linkFile(const std::string& index) const
{
    for (const auto& [name, iface] : kernel_.interfaces) {
        const auto& wanted = configuration_.interfaces.at(name);
        if (std::to_string(iface.index) != index || !iface.isPresent) {
            continue;
        }
        if (wanted.files.empty() || !wanted.unused.empty()) {
            return "ADMIN_STATE=unmanaged\n";
        }
        const bool isDone = iface.hasCable && !schedule_.holdsActionOf(name) &&
                            (!wanted.dhcp || leases_.count(name) > 0 || !wanted.addresses.empty());
        return std::string("ADMIN_STATE=") + (isDone ? "configured" : "configuring") +
               "\nNETWORK_FILE=" + wanted.files.front() + '\n';
    }
    return {};
}

std::vector<std::string> Networkd::leasedDnsServers() const
{
    std::vector<std::string> servers;
    for (const auto& entry : leases_) {
        servers.insert(servers.end(), entry.second.dnsServers.begin(), entry.second.dnsServers.end());
    }
    return servers;
}

Resolved::Resolved(const networkhost::IReadableFiles& files, Schedule& schedule) : files_(files), schedule_(schedule) {}

void Resolved::restart()
{
    const std::string owner = "systemd-resolved";
    schedule_.cancel(owner);
    schedule_.after(kResolver, owner, [this, read = networkhost::readConfiguration(files_)] { configuration_ = read; });
}

std::string Resolved::resolvConf(const std::vector<std::string>& leasedDnsServers) const
{
    std::vector<std::string> servers;
    for (const auto& server : configuration_.dnsServers) {
        const bool isListed = std::find(servers.begin(), servers.end(), server) != servers.end();
        if (networkhost::isCanonicalAddress(server) && !isListed) {
            servers.push_back(server);
        }
    }
    // The real file also lists a server twice when it is configured and comes with a lease.
    servers.insert(servers.end(), leasedDnsServers.begin(), leasedDnsServers.end());
    std::string text = "# This is the resolver's own list.\n";
    for (const auto& server : servers) {
        text += "nameserver " + server + '\n';
    }
    std::string domains;
    for (const auto& domain : configuration_.searchDomains) {
        if (domain.front() != '~') {
            domains += ' ' + (domain.size() > 1 && domain.back() == '.' ? domain.substr(0, domain.size() - 1) : domain);
        }
    }
    return text + "search" + (domains.empty() ? " ." : domains) + '\n';
}

} // namespace networksimulation
