// SPDX-License-Identifier: MIT
#include "networkhost/state/Configuration.h"

#include "networkhost/state/DaemonFile.h"
#include "networkhost/state/DropIns.h"
#include "networkhost/state/InterfaceFiles.h"
#include "networkhost/text/Words.h"
#include "networkmanager/BuiltInInterfaces.h"

#include <algorithm>
#include <tuple>

namespace networkhost {

namespace {

constexpr const char* kResolver = "resolved.conf";

/// Removes the "#name" behind each server. It only serves to check the server's certificate.
std::string withoutNames(const std::string& servers)
{
    std::string addresses;
    for (const auto& server : wordsOf(servers)) {
        addresses += server.substr(0, server.find('#')) + ' ';
    }
    return addresses;
}

void readResolver(const IReadableFiles& files, Configuration& configuration)
{
    for (const auto& file : readWithDropIns(files, kResolver)) {
        for (const auto& section : parseDaemonFile(file.text).sections) {
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
               std::tie(right.addresses, right.dhcp, right.gateway, right.routes) &&
           left.unused.empty() == right.unused.empty();
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
        configuration.interfaces[iface.name] = readInterface(files, iface.name, iface.networkFile);
    }
    readResolver(files, configuration);
    return configuration;
}

std::vector<Failure> unreadFiles(const IReadableFiles& files)
{
    std::vector<Failure> failures;
    const auto look = [&](const std::string& name) {
        for (const auto& file : readWithDropIns(files, name)) {
            if (file.error && file.error != std::errc::invalid_argument) { // EINVAL: a link to /dev/null masks the file
                failures.push_back({Failure::Step::ReadFile, file.path, file.error, {}});
            }
        }
    };
    look(kResolver);
    for (const auto& iface : networkmanager::kBuiltInInterfaces) {
        look(std::string("network/") + iface.networkFile);
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
