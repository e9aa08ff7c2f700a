// SPDX-License-Identifier: MIT
#pragma once

#include "../device/Failure.h"
#include "../device/IFiles.h"

#include <map>
#include <string>
#include <vector>

namespace networkhost {

// Addresses and networks have their canonical text here, with a prefix length where there is one.

/// A static route.
struct Route
{
    std::string destination; // "10.1.0.0/16"
    std::string gateway;     // "192.168.50.2"
};

bool operator==(const Route& left, const Route& right);
inline bool operator!=(const Route& left, const Route& right)
{
    return !(left == right);
}

/// What the files of one interface ask systemd-networkd for. IPv4 only, and of the routes only those in the main table.
struct ConfiguredInterface
{
    std::vector<std::string> addresses; // static ones: "192.168.50.20/24"
    bool dhcp = false;                  // an address by DHCP as well
    std::string gateway;            // gateway of the static default route, if it has the lowest metric; otherwise empty
    std::vector<Route> routes = {}; // the others that have a gateway

    bool usesLeasedGateway = false;           // the lease brings a default route
    std::vector<std::string> dnsServers = {}; // DNS= of this interface; this library never sets them or waits for them
    std::vector<std::string> searchDomains = {}; // likewise
    std::vector<std::string> files = {};         // that make it up, in the daemon's order

    // Sentences for people.
    std::string unused = {};               // why the daemon does not use the files; empty when it does
    std::vector<std::string> unread = {};  // what is not understood here: "FILE has [Route] NextHop=, ..."
    std::vector<std::string> ignored = {}; // what the daemon ignores, and why
};

/// What the files of the device ask for.
struct Configuration
{
    std::map<std::string, ConfiguredInterface> interfaces; // by name
    std::vector<std::string> dnsServers;                   // of systemd-resolved itself, not of leases
    std::vector<std::string> searchDomains;
};

/// The name of the interface into whose file the default gateway is written.
std::string gatewayInterface();

/// Whether both ask for the same addresses, gateway and routes, and are used.
bool operator==(const ConfiguredInterface& left, const ConfiguredInterface& right);
bool operator==(const Configuration& left, const Configuration& right);

/// Reads what is configured now, as the daemons of the installed version of systemd (247 to 257) would read it. A file
/// that cannot be read asks for nothing.
Configuration readConfiguration(const IReadableFiles& files);

/// The files of the configuration that are there and cannot be read.
std::vector<Failure> unreadFiles(const IReadableFiles& files);

/// What is configured for that interface alone, or for systemd-resolved alone.
Configuration onlyInterface(const Configuration& configuration, const std::string& interfaceName);
Configuration onlyResolver(const Configuration& configuration);

} // namespace networkhost
