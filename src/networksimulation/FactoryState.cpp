// SPDX-License-Identifier: MIT
#include "networksimulation/FactoryState.h"

#include "base/Paths.h"
#include "networkmanager/BuiltInInterfaces.h"
#include "networksimulation/Disk.h"
#include "networksimulation/FarEnds.h"
#include "networksimulation/Kernel.h"

#include <array>
#include <cstdio>
#include <string>

namespace networksimulation {

using networkmanager::BuiltInInterface;
namespace paths = velbase2::system::paths;

namespace {

// The first interface is in 192.168.10.0/24, the second one in 192.168.50.0/24, and so on.
constexpr unsigned int kFirstNetwork = 10;
constexpr unsigned int kNetworkStep = 40;
constexpr int kFirstIndex = 2; // 1 is the loopback interface
static_assert(kFirstNetwork + kNetworkStep * (networkmanager::kBuiltInInterfaces.size() - 1) <= 255);

std::string addressIn(unsigned int network, unsigned int host)
{
    return "192.168." + std::to_string(network) + '.' + std::to_string(host);
}

std::string macAddressIn(unsigned int network)
{
    std::array<char, sizeof "02:00:c0:a8:00:01"> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "02:00:c0:a8:%02x:01", network & 0xFFU));
    return text.data();
}

void makeDirectoryOf(Disk& disk, const std::string& path)
{
    disk.makeDirectory(path.substr(0, path.rfind('/')));
}

void writeNetworkFile(Disk& disk, const BuiltInInterface& iface, unsigned int network)
{
    for (const auto* const suffix : paths::kInLoadingOrder) {
        makeDirectoryOf(disk, paths::ofInterface(iface.networkFile, suffix));
    }
    const auto settings =
        iface.holdsGateway ? std::string("DHCP=ipv4\n")
                           : "LinkLocalAddressing=ipv6\nMulticastDNS=true\nAddress=" + addressIn(network, 1) + "/24\n";
    disk.put(paths::ofInterface(iface.networkFile),
             std::string("[Match]\nName=") + iface.name + "\n\n[Network]\n" + settings);
}

void connect(FarEnds& farEnds, const BuiltInInterface& iface, unsigned int network)
{
    farEnds.addNeighbour(iface.name, addressIn(network, 2));
    if (iface.holdsGateway) {
        const auto router = addressIn(network, 1);
        farEnds.addNeighbour(iface.name, router);
        farEnds.setDhcpServer(iface.name, {addressIn(network, 100), "255.255.255.0", router, {router}});
    }
}

} // namespace

void setFactoryState(Kernel& kernel, Disk& disk, FarEnds& farEnds)
{
    disk.put(paths::kHostname, "device\n");
    disk.put(paths::kNetworkd, "libsystemd-shared-252.so"); // the program of this version
    makeDirectoryOf(disk, paths::dnsDomainFile());
    unsigned int network = kFirstNetwork;
    int index = kFirstIndex;
    for (const auto& iface : networkmanager::kBuiltInInterfaces) {
        kernel.interfaces[iface.name] = {index, macAddressIn(network), {}};
        writeNetworkFile(disk, iface, network);
        connect(farEnds, iface, network);
        network += kNetworkStep;
        ++index;
    }
}

} // namespace networksimulation
