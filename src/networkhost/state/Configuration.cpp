// SPDX-License-Identifier: MIT
#include "networkhost/state/Configuration.h"

#include "base/IpHelper.h"
#include "base/Paths.h"
#include "networkhost/state/DaemonFile.h"
#include "networkhost/text/NetworkAddress.h"
#include "networkhost/text/Words.h"
#include "networkmanager/BuiltInInterfaces.h"

#include <algorithm>
#include <string_view>
#include <tuple>

namespace networkhost {

namespace iphelper = velbase2::system::iphelper;
namespace paths = velbase2::system::paths;

namespace {

std::vector<DaemonSection> readSections(const IReadableFiles& files, const std::string& path)
{
    return parseDaemonFile(textOf(files, path).value_or(""));
}

/// Whether this value of "DHCP=" makes systemd-networkd ask for an IPv4 lease.
bool asksForLease(const std::string& dhcp)
{
    return dhcp == "ipv4" || dhcp == "yes" || dhcp == "true" || dhcp == "on" || dhcp == "1" || dhcp == "both";
}

/// Whether the text was meant as an IPv4 address. The prefix length may be missing or wrong.
bool isMeantAsAddress(const std::string& text)
{
    return iphelper::isValidIp(text.substr(0, text.find('/')));
}

void addNetworkEntry(ConfiguredInterface& iface, const std::string& key, const std::string& value)
{
    if (key == "DHCP") {
        iface.dhcp = asksForLease(value);
    } else if (key == "Gateway" && isMeantAsAddress(value)) {
        iface.gateway = value;
    } else if (key == "Address" && value.empty()) {
        iface.addresses.clear();
    } else if (key == "Address" && isMeantAsAddress(value)) {
        const auto address = NetworkAddress::parseAsDaemons(value);
        iface.addresses.push_back(address ? address->text() : value);
    }
}

void addRoute(ConfiguredInterface& iface, const DaemonSection& section)
{
    const auto gateway = section.valueOf("Gateway");
    const auto destination = section.valueOf("Destination");
    const auto parsed = NetworkAddress::parseAsDaemons(destination);
    const auto network = parsed ? parsed->network().text() : destination;
    if (!isMeantAsAddress(gateway)) {
        return;
    }
    if (destination.empty() || network == "0.0.0.0/0") {
        iface.gateway = gateway;
    } else if (isMeantAsAddress(destination)) {
        iface.routes.push_back({network, gateway});
    }
}

ConfiguredInterface readInterface(const IReadableFiles& files, const std::string& networkFile)
{
    ConfiguredInterface iface;
    for (const char* suffix : paths::kInNetworkdsOrder) {
        for (const auto& section : readSections(files, paths::ofInterface(networkFile, suffix))) {
            if (section.name == "Route") {
                addRoute(iface, section);
            } else if (section.name == "Network" || section.name == "Address") {
                for (const auto& [key, value] : section.entries) {
                    addNetworkEntry(iface, key, value);
                }
            }
        }
    }
    return iface;
}

/// Removes the "#name" behind each server. It only serves to check the server's certificate.
std::string withoutNames(const std::string& servers)
{
    std::string addresses;
    for (const auto& server : wordsOf(servers)) {
        addresses += server.substr(0, server.find('#')) + ' ';
    }
    return addresses;
}

/// The resolver's files in the order in which systemd-resolved reads them.
std::vector<std::string> resolverFiles(const IReadableFiles& files)
{
    std::vector<std::string> names;
    files.list(paths::kResolverDirectory, names);
    std::vector<std::string> order = {paths::kResolverFile};
    for (const auto& name : names) {
        constexpr std::string_view kSuffix = ".conf";
        if (name.size() > kSuffix.size() && endsWith(name, kSuffix)) {
            order.push_back(paths::kResolverDirectory + name);
        }
    }
    return order;
}

void readResolver(const IReadableFiles& files, Configuration& configuration)
{
    for (const auto& path : resolverFiles(files)) {
        for (const auto& section : readSections(files, path)) {
            for (const auto& [key, value] : section.entries) {
                if (section.name == "Resolve" && key == "DNS") {
                    assignList(configuration.dnsServers, withoutNames(value));
                } else if (section.name == "Resolve" && key == "Domains") {
                    assignList(configuration.searchDomains, value);
                }
            }
        }
    }
}

} // namespace

bool operator==(const Route& left, const Route& right)
{
    return left.destination == right.destination && left.gateway == right.gateway;
}

bool operator==(const ConfiguredInterface& left, const ConfiguredInterface& right)
{
    return std::tie(left.addresses, left.dhcp, left.gateway, left.routes) ==
           std::tie(right.addresses, right.dhcp, right.gateway, right.routes);
}

bool operator==(const Configuration& left, const Configuration& right)
{
    return left.interfaces == right.interfaces && left.dnsServers == right.dnsServers &&
           left.searchDomains == right.searchDomains;
}

std::string gatewayInterface()
{
    const auto* const holder =
        std::find_if(networkmanager::kBuiltInInterfaces.begin(), networkmanager::kBuiltInInterfaces.end(),
                     [](const auto& builtIn) { return builtIn.holdsGateway; });
    return holder == networkmanager::kBuiltInInterfaces.end() ? "" : holder->name;
}

Configuration readConfiguration(const IReadableFiles& files)
{
    Configuration configuration;
    for (const auto& iface : networkmanager::kBuiltInInterfaces) {
        configuration.interfaces[iface.name] = readInterface(files, iface.networkFile);
    }
    readResolver(files, configuration);
    return configuration;
}

std::vector<Failure> unreadFiles(const IReadableFiles& files)
{
    auto all = resolverFiles(files);
    for (const auto& iface : networkmanager::kBuiltInInterfaces) {
        for (const char* suffix : paths::kInNetworkdsOrder) {
            all.push_back(paths::ofInterface(iface.networkFile, suffix));
        }
    }
    std::vector<Failure> failures;
    for (const auto& path : all) {
        std::string text;
        const auto error = files.read(path, text);
        const bool isNone = error == std::errc::no_such_file_or_directory || error == std::errc::invalid_argument;
        if (error && !isNone) { // EINVAL: a link to /dev/null masks the file
            failures.push_back({Failure::Step::ReadFile, path, error, {}});
        }
    }
    return failures;
}

Configuration onlyInterface(const Configuration& configuration, const std::string& interfaceName)
{
    return {{{interfaceName, configuration.interfaces.at(interfaceName)}}, {}, {}};
}

Configuration onlyResolver(const Configuration& configuration)
{
    return {{}, configuration.dnsServers, configuration.searchDomains};
}

} // namespace networkhost
