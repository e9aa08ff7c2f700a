// SPDX-License-Identifier: MIT
#include "networksimulation/Kernel.h"

#include "base/IpHelper.h"
#include "networkhost/text/NetworkAddress.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <sstream>
#include <stdexcept>
#include <tuple>
#include <utility>

#include <arpa/inet.h>

namespace networksimulation {

using networkhost::NetworkAddress;
using velbase2::nsa::common::enums::IpAddressFamily;
using velbase2::nsa::common::structs::IpAddress;
namespace iphelper = velbase2::system::iphelper;

namespace {

constexpr const char* kAny = "0.0.0.0";
constexpr const char* kLoopback = "lo";

in_addr_t bitsOf(const std::string& address)
{
    in_addr_t bits = 0;
    ::inet_pton(AF_INET, address.c_str(), &bits);
    return bits;
}

/// The address with the prefix fe80:: and the interface identifier that the kernel derives from the MAC address.
std::string linkLocalAddress(const std::string& macAddress)
{
    std::array<unsigned int, 6> mac{};
    std::istringstream bytes(macAddress); // a text of another form gives zeros
    for (auto& byte : mac) {
        bytes >> std::hex >> byte;
        bytes.ignore(); // the colon
    }
    in6_addr address{};
    const std::array<unsigned int, 8> identifier = {mac[0] ^ 2U, mac[1], mac[2], 0xFF, 0xFE, mac[3], mac[4], mac[5]};
    address.s6_addr[0] = 0xFE;
    address.s6_addr[1] = 0x80;
    std::copy(identifier.begin(), identifier.end(), address.s6_addr + 8);
    std::array<char, INET6_ADDRSTRLEN> text{};
    ::inet_ntop(AF_INET6, &address, text.data(), text.size());
    return text.data();
}

/// The order of the kernel's table: by network, then the longer prefix first, then the lower metric first.
bool standsBefore(const KernelRoute& left, const KernelRoute& right)
{
    const auto key = [](const KernelRoute& route) {
        return std::tuple(ntohl(bitsOf(route.destination)), ~ntohl(bitsOf(route.mask)), route.metric);
    };
    return key(left) < key(right);
}

bool isDefaultRoute(const KernelRoute& route)
{
    return route.mask == kAny;
}

bool isNeighbour(const KernelAddress& own, const std::string& gateway)
{
    const auto subnet = NetworkAddress::of(own.address, own.mask);
    const auto neighbour = NetworkAddress::parse(gateway);
    const bool hasBroadcast = subnet->length < 31;
    return neighbour && subnet->contains(*neighbour) && !(hasBroadcast && neighbour->bits == subnet->broadcast().bits);
}

} // namespace

bool Kernel::setCable(const std::string& interfaceName, bool isPlugged)
{
    auto& iface = interfaces.at(interfaceName);
    const bool hasChanged = std::exchange(iface.hasCable, isPlugged) != isPlugged;
    (isPlugged ? iface.carrierUps : iface.carrierDowns) += hasChanged ? 1 : 0;
    return hasChanged;
}

bool Kernel::setPresent(const std::string& interfaceName, bool isPresent)
{
    auto& iface = interfaces.at(interfaceName);
    if (!isPresent) {
        iface.addresses.clear();
        iface.carrierDowns = 1;
        iface.carrierUps = iface.hasCable ? 1 : 0;
    }
    return std::exchange(iface.isPresent, isPresent) != isPresent;
}

void Kernel::addAddress(const std::string& interfaceName, const std::string& address)
{
    const auto own = NetworkAddress::parseAsDaemons(address);
    if (!own || own->text() != address) {
        throw std::invalid_argument("not an address with its prefix length: " + address);
    }
    interfaces.at(interfaceName).addresses.push_back({own->address(), own->mask(), 0, true});
}

std::vector<IpAddress> Kernel::addressesOf(const std::string& interfaceName) const
{
    const auto iface = interfaces.find(interfaceName);
    if (iface == interfaces.end() || !iface->second.isPresent) {
        return {};
    }
    std::vector<IpAddress> addresses;
    for (const auto& entry : iface->second.addresses) {
        addresses.push_back({IpAddressFamily::IPv4, entry.address, entry.mask});
    }
    addresses.push_back({IpAddressFamily::IPv6, linkLocalAddress(iface->second.macAddress), {}});
    return addresses;
}

std::vector<KernelRoute> Kernel::allRoutes() const
{
    auto all = routes;
    for (const auto& [name, iface] : interfaces) {
        for (const auto& own : iface.addresses) {
            const auto network = NetworkAddress::of(own.address, own.mask)->network().address();
            const bool isKnown = std::any_of(all.begin(), all.end(), [&, &name = name](const KernelRoute& route) {
                return route.interfaceName == name && route.destination == network && route.mask == own.mask;
            });
            if (iphelper::subnetMaskToBits(own.mask) < 32 && !isKnown) {
                all.push_back({name, network, own.mask, kAny, own.metric});
            }
        }
    }
    std::stable_sort(all.begin(), all.end(), standsBefore);
    return all;
}

std::string Kernel::routeTable() const
{
    std::string table = "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\tWindow\tIRTT\n";
    for (const auto& route : allRoutes()) {
        const unsigned int flags = 1U | (route.gateway == kAny ? 0U : 2U) | (route.mask == "255.255.255.255" ? 4U : 0U);
        std::array<char, 128> row{};
        static_cast<void>(std::snprintf(row.data(), row.size(), "\t%08X\t%08X\t%04X\t0\t0\t%d\t%08X\t0\t0\t0\n",
                                        bitsOf(route.destination), bitsOf(route.gateway), flags, route.metric,
                                        bitsOf(route.mask)));
        table += route.interfaceName + row.data();
    }
    return table;
}

std::string Kernel::attribute(const std::string& interfaceName, const std::string& name) const
{
    const auto found = interfaces.find(interfaceName);
    if (found == interfaces.end() || !found->second.isPresent) {
        return {};
    }
    const auto& iface = found->second;
    const std::map<std::string, std::string> attributes = {{"address", iface.macAddress},
                                                           {"operstate", iface.hasCable ? "up" : "down"},
                                                           {"speed", iface.speed},
                                                           {"duplex", iface.duplex},
                                                           {"ifindex", std::to_string(iface.index)},
                                                           {"carrier_down_count", std::to_string(iface.carrierDowns)},
                                                           {"carrier_up_count", std::to_string(iface.carrierUps)}};
    const auto entry = attributes.find(name);
    return entry == attributes.end() ? std::string() : entry->second + '\n';
}

bool Kernel::reaches(const std::string& interfaceName, const std::string& gateway) const
{
    const auto& addresses = interfaces.at(interfaceName).addresses;
    return std::any_of(addresses.begin(), addresses.end(),
                       [&gateway](const KernelAddress& own) { return isNeighbour(own, gateway); });
}

std::string Kernel::addDefaultRoute(const std::string& gateway)
{
    if (!iphelper::isValidIp(gateway) || iphelper::cleanupIP(gateway) == kAny) {
        return "SIOCADDRT: Invalid argument\n";
    }
    const auto address = iphelper::cleanupIP(gateway);
    // The kernel lists the newest of the routes with the same metric first.
    const auto add = [&](const std::string& interfaceName) {
        routes.insert(routes.begin(), {interfaceName, kAny, kAny, address, 0});
        return std::string();
    };
    if (address.rfind("127.", 0) == 0) {
        return add(kLoopback);
    }
    for (const auto& entry : interfaces) {
        if (reaches(entry.first, address)) {
            return add(entry.first);
        }
    }
    return "SIOCADDRT: Network is unreachable\n";
}

void Kernel::flushDefaultRoutes()
{
    routes.erase(std::remove_if(routes.begin(), routes.end(), isDefaultRoute), routes.end());
}

void Kernel::strip(const std::string& interfaceName, const std::function<bool(const KernelAddress&)>& goes,
                   const std::function<bool(const KernelRoute&)>& routeGoes)
{
    auto& addresses = interfaces.at(interfaceName).addresses;
    addresses.erase(std::remove_if(addresses.begin(), addresses.end(), goes), addresses.end());
    const auto isGone = [&](const KernelRoute& route) {
        return route.interfaceName == interfaceName && routeGoes(route);
    };
    routes.erase(std::remove_if(routes.begin(), routes.end(), isGone), routes.end());
}

} // namespace networksimulation
