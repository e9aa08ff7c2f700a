// SPDX-License-Identifier: MIT
#include "networkhost/state/Missing.h"

#include "networkhost/state/Wait.h"
#include "networkhost/text/Addresses.h"
#include "networkhost/text/Checks.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

namespace networkhost {
namespace {

template <class List, class X>
bool holds(const List& list, const X& value)
{
    return std::find(list.begin(), list.end(), value) != list.end();
}

/// Refers to the routes it is made of. A device may have thousands.
class RouteSet
{
public:
    explicit RouteSet(const std::vector<Route>& routes)
    {
        for (const auto& route : routes) {
            routes_.emplace(route.destination, route.gateway);
        }
    }
    bool holds(const Route& route) const { return routes_.count({route.destination, route.gateway}) > 0; }

private:
    std::set<std::pair<std::string_view, std::string_view>> routes_;
};

std::vector<std::string> liveAddresses(const LiveInterface& live)
{
    std::vector<std::string> addresses;
    for (const auto& entry : live.addresses) {
        if (entry.family == velbase2::nsa::common::enums::IpAddressFamily::IPv4) {
            addresses.push_back(withPrefixLength(entry.address, entry.mask));
        }
    }
    return addresses;
}

std::string withoutPrefixLength(const std::string& address)
{
    return address.substr(0, address.find('/'));
}

bool isLinkLocal(const std::string& address)
{
    return address.rfind("169.254.", 0) == 0;
}

std::string missingAddress(const std::string& name, const ConfiguredInterface& wanted, const LiveInterface& live,
                           const ConfiguredInterface* before)
{
    const auto present = liveAddresses(live);
    for (const auto& address : wanted.addresses) {
        if (!holds(present, address)) {
            return "the address " + withoutPrefixLength(address) + " of " + name;
        }
    }
    const auto isLeased = [&live](const std::string& address) {
        return !live.lease.address.empty() && withoutPrefixLength(address) == live.lease.address;
    };
    // It must be the leased address. Right after a change to DHCP, the old static address is still live.
    if (wanted.dhcp && std::none_of(present.begin(), present.end(), isLeased)) {
        return "an address of " + name + " by DHCP";
    }
    // The cells show the first address. While an old address is still first, the change is not live.
    const auto isWanted = [&](const std::string& address) {
        return holds(wanted.addresses, address) || (wanted.dhcp && isLeased(address));
    };
    const auto first = std::find_if_not(present.begin(), present.end(), isLinkLocal);
    const bool asksForOne = wanted.dhcp || !wanted.addresses.empty();
    if (asksForOne && first != present.end() && !isWanted(*first)) {
        return "the removal of the address " + withoutPrefixLength(*first) + " of " + name;
    }
    for (const auto& address : before != nullptr ? before->addresses : std::vector<std::string>()) {
        if (holds(present, address) && !isWanted(address)) {
            return "the removal of the address " + withoutPrefixLength(address) + " of " + name;
        }
    }
    return {};
}

std::string missingNewAddress(const std::string& name, const ConfiguredInterface& wanted, const LiveInterface& live,
                              const ConfiguredInterface* before)
{
    const auto present = liveAddresses(live);
    for (const auto& address : wanted.addresses) {
        if (before != nullptr && !holds(before->addresses, address) && !holds(present, address)) {
            return "the address " + withoutPrefixLength(address) + " of " + name;
        }
    }
    return {};
}

std::string missingDefaultRoute(const ConfiguredInterface& wanted, const LiveInterface& live,
                                const std::string& gateway, bool mustBeGone)
{
    const auto expected = wanted.gateway.empty() && wanted.usesLeasedGateway ? live.lease.router : wanted.gateway;
    if (gateway == expected || (expected.empty() && !mustBeGone)) {
        return {};
    }
    return expected.empty() ? "the removal of the default route" : "the default route via " + expected;
}

std::string missingRoute(const ConfiguredInterface& wanted, const LiveInterface& live,
                         const ConfiguredInterface* before)
{
    const auto text = [](const Route& route) { return "the route " + route.destination + " via " + route.gateway; };
    if (wanted.routes.empty() && (before == nullptr || before->routes.empty())) {
        return {};
    }
    const RouteSet present(live.routes);
    for (const auto& route : wanted.routes) {
        if (!present.holds(route)) {
            return text(route);
        }
    }
    if (before != nullptr && before->routes != wanted.routes) {
        const RouteSet kept(wanted.routes);
        for (const auto& route : before->routes) {
            if (!kept.holds(route) && present.holds(route)) {
                return "the removal of " + text(route);
            }
        }
    }
    return {};
}

std::string missingUse(const std::string& name, const ConfiguredInterface& wanted, const LiveInterface& live)
{
    if (!wanted.unused.empty()) {
        return "the settings of " + name + ": " + wanted.unused;
    }
    const auto nameOf = [](const std::string& path) { return path.substr(path.rfind('/') + 1); }; // or through a link
    const bool isOther =
        !live.networkFile.empty() && !wanted.files.empty() && nameOf(live.networkFile) != nameOf(wanted.files.front());
    return isOther ? "the settings of " + name + ": systemd-networkd uses " + live.networkFile + ", not " +
                         wanted.files.front()
                   : std::string();
}

std::string missingOfInterface(const std::string& name, const ConfiguredInterface& wanted, const LiveState& state,
                               const ConfiguredInterface* before)
{
    const auto& live = state.interfaces.at(name);
    if (!live.isPresent) {
        return "the interface " + name;
    }
    if (auto use = missingUse(name, wanted, live); !use.empty()) {
        return use;
    }
    auto answer = missingAddress(name, wanted, live, before);
    if (answer.empty() && name == gatewayInterface()) {
        // A gateway that no file asked for may have been set by hand, and may stay.
        const bool mustBeGone = before != nullptr && (before->usesLeasedGateway || !before->gateway.empty());
        answer = missingDefaultRoute(wanted, live, state.gateway, mustBeGone);
    }
    answer = answer.empty() ? missingRoute(wanted, live, before) : answer;
    if (!answer.empty() && live.networkd == "unmanaged") {
        return answer + " (systemd-networkd does not manage " + name + ": see its journal)";
    }
    if (answer.empty() || wanted.unread.empty()) {
        return answer;
    }
    // The files may ask for something else than was understood. Then only networkd knows whether it has done that. The
    // address that a change brings is understood.
    return live.networkd == "configured" ? missingNewAddress(name, wanted, live, before)
                                         : answer + " (" + wanted.unread.front() + ')';
}

/// The domain in the form that systemd-resolved shows, without a final dot. Empty for a domain that only routes
/// queries.
std::string searchedDomain(std::string domain)
{
    if (domain.size() > 1 && domain.back() == '.') {
        domain.pop_back();
    }
    return domain.empty() || domain.front() == '~' || domain == "." ? std::string() : domain;
}

std::string missingOfResolver(const Configuration& wanted, const LiveState& live,
                              const std::optional<Configuration>& before)
{
    for (const auto& server : wanted.dnsServers) {
        if (!holds(live.dnsServers, server)) {
            return "the nameserver " + server;
        }
    }
    for (const auto& domain : wanted.searchDomains) {
        if (const auto searched = searchedDomain(domain); !searched.empty() && !holds(live.searchDomains, searched)) {
            return "the search domain " + searched;
        }
    }
    const auto isLeased = [&live](const std::string& server) {
        return std::any_of(live.interfaces.begin(), live.interfaces.end(),
                           [&](const auto& entry) { return holds(entry.second.lease.dnsServers, server); });
    };
    for (const auto& server : before ? before->dnsServers : std::vector<std::string>()) {
        if (!holds(wanted.dnsServers, server) && holds(live.dnsServers, server) && !isLeased(server)) {
            return "the removal of the nameserver " + server;
        }
    }
    for (const auto& domain : before ? before->searchDomains : std::vector<std::string>()) {
        const auto searched = searchedDomain(domain);
        if (!holds(wanted.searchDomains, domain) && holds(live.searchDomains, searched)) {
            return "the removal of the search domain " + searched;
        }
    }
    return {};
}

} // namespace

std::string missing(const Configuration& wanted, const LiveState& live, const std::optional<Configuration>& before)
{
    for (const auto& [name, iface] : wanted.interfaces) {
        const bool isKnown = before && before->interfaces.count(name) > 0;
        auto answer = missingOfInterface(name, iface, live, isKnown ? &before->interfaces.at(name) : nullptr);
        if (!answer.empty()) {
            return printable(answer);
        }
    }
    return printable(missingOfResolver(wanted, live, before));
}

std::string waitUntilLive(IDevice& device, const Configuration& wanted, std::chrono::milliseconds limit,
                          const std::optional<Configuration>& before)
{
    std::string answer;
    waitUntil(device, limit, [&] {
        answer = missing(wanted, readLiveState(device), before);
        return answer.empty();
    });
    return answer;
}

} // namespace networkhost
