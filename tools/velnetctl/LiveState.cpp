// SPDX-License-Identifier: MIT
#include "LiveState.h"

#include "Text.h"
#include "base/IpHelper.h"
#include "networkmanager/Routes.h"
#include "networkmanager/system/Helper.h"
#include "systemd/configuration/File.h"
#include "systemd/configuration/UnitFile.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <arpa/inet.h>
#include <net/if.h>

namespace velnetctl {

using networkmanager::EthParams;
using networkmanager::ISystemIF;
using vel_systemd::configuration::file::Content;
using vel_systemd::configuration::file::Section;
using velbase2::nsa::common::IpSettings;
namespace helper = networkmanager::helper;
namespace iphelper = velbase2::system::iphelper;

namespace {

void readUnitFile(const std::string& path, Content& content)
{
    std::stringstream text;
    if (!vel_systemd::configuration::file::File().read(path, text)) {
        text >> vel_systemd::configuration::file::FileConverter(content);
    }
}

std::string valueOf(const Section& section, const std::string& key)
{
    const auto entry = section.entries.find(key);
    return entry == section.entries.end() ? std::string() : entry->second;
}

std::string networkFilePath(const EthParams& iface)
{
    return "/etc/systemd/network/" + iface.networkFile;
}

/// The address of networkd's present lease of the interface; empty without one.
std::string leasedAddress(const std::string& interfaceName)
{
    std::ifstream lease("/run/systemd/netif/leases/" + std::to_string(::if_nametoindex(interfaceName.c_str())));
    const std::string key = "ADDRESS=";
    std::string line;
    while (std::getline(lease, line)) {
        if (line.rfind(key, 0) == 0) {
            return line.substr(key.size());
        }
    }
    return {};
}

/// "address/length via gateway" of the rows of the kernel's table.
std::set<std::string> kernelRoutes(const std::string& interfaceName)
{
    std::set<std::string> routes;
    std::ifstream table("/proc/net/route");
    std::string row;
    while (std::getline(table, row)) {
        std::istringstream fields(row);
        std::string name;
        std::string destination;
        std::string gateway;
        std::string skipped;
        std::string mask;
        fields >> name >> destination >> gateway >> skipped >> skipped >> skipped >> skipped >> mask;
        if (name == interfaceName) {
            routes.insert(withPrefixLength(helper::hex2ip(destination), helper::hex2ip(mask)) + " via " +
                          helper::hex2ip(gateway));
        }
    }
    return routes;
}

/// False for what somebody else wrote and the library would refuse.
bool isRoute(const std::string& destination)
{
    try {
        return networkmanager::checkValidRoute(destination);
    } catch (const std::out_of_range&) {
        return false;
    }
}

/// As the kernel shows it: without the bits of the host, and a lone address as /32.
std::string canonicalDestination(const std::string& destination)
{
    const auto slash = destination.find('/');
    const int prefixLength = slash == std::string::npos ? 32 : std::stoi(destination.substr(slash + 1));
    const auto mask = iphelper::subnetBitsToMask(prefixLength);
    return withPrefixLength(networkOf(destination.substr(0, slash), mask), mask);
}

/// The words behind the key in what resolved uses itself, not in the stub that it gives to others.
std::set<std::string> resolverWords(const std::string& key)
{
    std::ifstream file("/run/systemd/resolve/resolv.conf");
    std::set<std::string> found;
    std::string line;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        std::string word;
        if (words >> word && word == key) {
            found.insert(std::istream_iterator<std::string>(words), {});
        }
    }
    return found;
}

} // namespace

std::string networkOf(const std::string& address, const std::string& mask)
{
    in_addr_t host = 0;
    in_addr_t ones = 0;
    ::inet_pton(AF_INET, iphelper::cleanupIP(address).c_str(), &host);
    ::inet_pton(AF_INET, iphelper::cleanupIP(mask).c_str(), &ones);
    return iphelper::dotted(ntohl(host & ones));
}

std::string missingOfFiles(const ISystemIF& system, const EthParams& iface)
{
    if (system.getMacAddress(iface.name).empty()) {
        return "the interface " + iface.name;
    }
    Content content;
    readUnitFile(networkFilePath(iface), content);
    readUnitFile(networkFilePath(iface) + ".d/51-ip_address.conf", content);
    const auto live = system.getAddresses(iface.name);
    const auto isLive = [&live](const std::string& address) {
        return std::any_of(live.begin(), live.end(), [&](const auto& entry) { return entry.address == address; });
    };
    for (const auto& section : content) {
        const auto value = valueOf(section, "Address");
        const auto address = value.substr(0, value.find('/'));
        if (section.name == "Network" && iphelper::isValidIp(address) && !isLive(iphelper::cleanupIP(address))) {
            return "the address " + address + " of " + iface.name;
        }
        // Not any address: right after the change from a static one, that one is still there.
        const bool dhcp = section.name == "Network" && valueOf(section, "DHCP") == "ipv4";
        if (dhcp && !isLive(leasedAddress(iface.name))) {
            return "an address of " + iface.name + " by DHCP";
        }
        if (dhcp && iface.holdsGateway && system.getGateway().empty()) {
            return "a default route by DHCP";
        }
        const auto gateway = valueOf(section, "Gateway");
        const bool isDefaultRoute = section.name == "Route" && valueOf(section, "Destination").empty();
        if (isDefaultRoute && iface.holdsGateway && !gateway.empty() && system.getGateway() != gateway) {
            return "the default route via " + gateway;
        }
    }
    return {};
}

std::string missingOfSettings(const ISystemIF& system, const EthParams& iface, const IpSettings& settings)
{
    if (settings.dhcp) {
        return missingOfFiles(system, iface);
    }
    const auto live = helper::getIpSettingsWithFirstIpv4(system.getAddresses(iface.name));
    const auto wanted = iphelper::cleanupIP(settings.ip);
    const bool isNone = wanted == "0.0.0.0" && live.ip.empty();
    const bool isThat = live.ip == wanted && live.mask == iphelper::cleanupIP(settings.mask);
    return isNone || isThat ? missingOfFiles(system, iface) : "the address " + settings.ip + " of " + iface.name;
}

std::string missingOfGateway(const ISystemIF& system, const std::string& gateway)
{
    if (system.getGateway() == gateway) {
        return {};
    }
    return gateway.empty() ? "the removal of the default route" : "the default route via " + gateway;
}

std::set<std::string> routesOfFile(const EthParams& iface)
{
    Content content;
    readUnitFile(networkFilePath(iface) + ".d/50-routes.conf", content);
    std::set<std::string> routes;
    for (const auto& section : content) {
        const auto destination = valueOf(section, "Destination");
        if (isRoute(destination)) {
            routes.insert(canonicalDestination(destination) + " via " +
                          iphelper::cleanupIP(valueOf(section, "Gateway")));
        }
    }
    return routes;
}

std::string missingOfRoutes(const EthParams& iface, const std::set<std::string>& before)
{
    const auto wanted = routesOfFile(iface);
    const auto live = kernelRoutes(iface.name);
    for (const auto& route : wanted) {
        if (live.count(route) == 0) {
            return "the route " + route;
        }
    }
    for (const auto& route : before) {
        if (wanted.count(route) == 0 && live.count(route) != 0) {
            return "the removal of the route " + route;
        }
    }
    return {};
}

std::string missingOfResolver(const std::string& key, const std::string& words)
{
    const auto live = resolverWords(key);
    std::istringstream wanted(words);
    std::string word;
    while (wanted >> word) {
        if (word.size() > 1 && word.back() == '.') {
            word.pop_back(); // resolved shows names without it
        }
        const bool isShown = word.front() != '~'; // a domain that only routes queries is not searched
        if (isShown && live.count(word) == 0) {
            return std::string("the ").append(key).append(" ").append(word);
        }
    }
    return {};
}

std::string waitWhileMissing(const std::function<std::string()>& missing, std::chrono::milliseconds limit)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    auto answer = missing();
    while (!answer.empty() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        answer = missing();
    }
    return answer;
}

} // namespace velnetctl
