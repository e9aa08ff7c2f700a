// SPDX-License-Identifier: MIT
#include "networkhost/plan/Objections.h"

#include "base/IpHelper.h"
#include "networkhost/text/Addresses.h"
#include "networkhost/text/Checks.h"
#include "networkhost/text/NetworkAddress.h"
#include "networkmanager/BuiltInInterfaces.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

namespace networkhost {

namespace iphelper = velbase2::system::iphelper;

namespace {

using Sentences = std::vector<std::string>;

std::string sentence(std::initializer_list<std::string_view> parts)
{
    std::string text;
    for (const auto part : parts) {
        text += part;
    }
    return text;
}

/// Why a host cannot have this address in this subnet. Empty when it can.
std::string faultOfHost(const NetworkAddress& host)
{
    const auto first = host.bits >> 24U;
    if (host.length == 0) {
        return "its prefix length /0 takes in every address";
    }
    if (first == 127) {
        return "it is a loopback address";
    }
    if (first >= 224) {
        return first < 240 ? "it is a multicast address" : "it is a reserved address";
    }
    if (first == 0) {
        return "no host has an address that begins with 0";
    }
    if (host.length < 31 && host == host.network()) {
        return "it is the address of the network " + host.text() + " itself";
    }
    if (host.length < 31 && host == host.broadcast()) {
        return "it is the broadcast address of " + host.network().text();
    }
    return {};
}

/// The known subnets of the interface after the change. The subnet of a lease is only known while the lease is live.
std::vector<NetworkAddress> subnetsOf(const std::string& name, const ConfiguredInterface& iface, const LiveState& live)
{
    std::vector<NetworkAddress> subnets;
    const auto found = live.interfaces.find(name);
    if (found != live.interfaces.end() && !found->second.isPresent) {
        return subnets; // hardware that this device does not have
    }
    const auto add = [&subnets](const std::string& address) {
        if (const auto subnet = NetworkAddress::parseAsDaemons(address)) {
            subnets.push_back(*subnet);
        }
    };
    std::for_each(iface.addresses.begin(), iface.addresses.end(), add);
    if (iface.dhcp && found != live.interfaces.end()) {
        for (const auto& address : found->second.addresses) {
            if (address.address == found->second.lease.address) {
                add(withPrefixLength(address.address, address.mask));
            }
        }
    }
    return subnets;
}

bool isReached(const std::vector<NetworkAddress>& subnets, const NetworkAddress& address)
{
    return std::any_of(subnets.begin(), subnets.end(), [&](const auto& subnet) { return subnet.contains(address); });
}

void addFaultsOfAddresses(const std::string& name, const ConfiguredInterface& iface, Sentences& sentences)
{
    for (const auto& address : iface.addresses) {
        if (const auto fault = faultOfHost(*NetworkAddress::parse(address)); !fault.empty()) {
            sentences.push_back(sentence({"the address ", address, " of ", name, ": ", fault}));
        }
    }
    if (iface.addresses.empty() && !iface.dhcp) {
        sentences.push_back(name + " would have no IPv4 address");
    }
}

/// The gateway of an interface with DHCP is not checked. The subnet of the next lease is unknown, and without a static
/// address systemd-networkd takes every gateway for a neighbour.
void addFaultsOfGateway(const std::string& name, const Configuration& configuration, const LiveState& live,
                        const std::string& advice, Sentences& sentences)
{
    const auto& iface = configuration.interfaces.at(name);
    if (iface.gateway.empty() || iface.dhcp) {
        return;
    }
    const auto what = "the gateway " + iface.gateway;
    const auto gateway = *NetworkAddress::parse(iface.gateway);
    for (const auto& [other, settings] : configuration.interfaces) {
        const auto subnets = subnetsOf(other, settings, live);
        if (std::any_of(subnets.begin(), subnets.end(), [&](const auto& own) { return own.bits == gateway.bits; })) {
            sentences.push_back(sentence({what, " is this device itself (", other, ")"}));
            return;
        }
        if (other != name && isReached(subnets, gateway)) {
            sentences.push_back(sentence({what, " would be reached over ", other, ", not over ", name}));
            return;
        }
    }
    const auto subnets = subnetsOf(name, iface, live);
    const auto own = std::find_if(subnets.begin(), subnets.end(), [&](const auto& x) { return x.contains(gateway); });
    if (own == subnets.end()) {
        const auto of = subnets.empty() ? "" : " " + subnets.front().network().text();
        sentences.push_back(what + " lies outside the subnet" + of + " of " + name + (advice.empty() ? "" : ": ") +
                            advice);
    } else if (const auto fault = faultOfHost({gateway.bits, own->length}); !fault.empty()) {
        sentences.push_back(what + ": " + fault);
    }
}

void addFaultsOfRoutes(const std::string& name, const ConfiguredInterface& iface, const LiveState& live,
                       Sentences& sentences)
{
    const auto subnets = subnetsOf(name, iface, live);
    for (const auto& route : iface.routes) {
        const bool isKnown = !iface.dhcp || !subnets.empty();
        if (NetworkAddress::parse(route.destination)->length == 0) {
            sentences.push_back("the route to " + route.destination + " of " + name +
                                " is a default route: set the gateway instead");
        } else if (isKnown && !isReached(subnets, *NetworkAddress::parse(route.gateway))) {
            sentences.push_back("the gateway " + route.gateway + " of the route to " + route.destination +
                                " is not reached over " + name);
        }
    }
}

/// A leading "~" is allowed. It makes systemd-resolved route queries below the domain, but not search in it.
bool isSearchDomain(std::string domain)
{
    domain.erase(0, domain.find_first_not_of('~'));
    if (domain == ".") {
        return true;
    }
    if (!domain.empty() && domain.back() == '.') {
        domain.pop_back();
    }
    if (domain.empty() || domain.size() > 253 || iphelper::isValidIp(domain)) {
        return false;
    }
    std::size_t length = 0; // of the label
    for (const char character : domain + '.') {
        const bool isEnd = character == '.';
        const auto byte = static_cast<unsigned char>(character);
        const bool isGood = byte >= 0x80 || byte == '-' || byte == '_' || (byte >= '0' && byte <= '9') ||
                            (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
        if (isEnd ? length == 0 : !isGood || length == 63) {
            return false;
        }
        length = isEnd ? 0 : length + 1;
    }
    return true;
}

void addOverlaps(const Configuration& configuration, const LiveState& live, Sentences& sentences)
{
    for (auto one = configuration.interfaces.begin(); one != configuration.interfaces.end(); ++one) {
        for (auto other = std::next(one); other != configuration.interfaces.end(); ++other) {
            for (const auto& left : subnetsOf(one->first, one->second, live)) {
                for (const auto& right : subnetsOf(other->first, other->second, live)) {
                    if (left.overlaps(right)) {
                        sentences.push_back(one->first + " (" + left.network().text() + ") and " + other->first + " (" +
                                            right.network().text() + ") would be in one subnet");
                    }
                }
            }
        }
    }
}

} // namespace

std::vector<std::string> objectionsTo(const Configuration& configuration, const LiveState& live,
                                      const std::string& advice)
{
    Sentences sentences;
    for (const auto& [name, iface] : configuration.interfaces) {
        addFaultsOfAddresses(name, iface, sentences);
        addFaultsOfRoutes(name, iface, live, sentences);
        addFaultsOfGateway(name, configuration, live, advice, sentences);
    }
    addOverlaps(configuration, live, sentences);
    for (const auto& domain : configuration.searchDomains) {
        if (!isSearchDomain(domain)) {
            sentences.push_back("'" + printable(domain) + "' is no search domain");
        }
    }
    return sentences;
}

std::vector<std::string> misreadRoutes(const Configuration& configuration)
{
    Sentences sentences;
    for (const auto& [name, iface] : configuration.interfaces) {
        for (const auto& route : iface.routes) {
            const auto destination = NetworkAddress::parse(route.destination);
            if (destination && destination->bits == 0) {
                sentences.push_back("the route to " + route.destination + " of " + name +
                                    " begins as the default route does: the live gateway is misread from it");
            }
        }
    }
    return sentences;
}

} // namespace networkhost
