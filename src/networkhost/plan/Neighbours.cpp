// SPDX-License-Identifier: MIT
#include "networkhost/plan/Neighbours.h"

#include "networkhost/text/Addresses.h"
#include "networkhost/text/NetworkAddress.h"

#include <algorithm>
#include <utility>

namespace networkhost {

using std::chrono::milliseconds;

namespace {

constexpr milliseconds kSilence(10); // a wired network answers faster

bool isOwn(const LiveState& live, const std::string& address)
{
    return std::any_of(live.interfaces.begin(), live.interfaces.end(), [&](const auto& entry) {
        const auto& own = entry.second.addresses;
        return std::any_of(own.begin(), own.end(), [&](const auto& one) { return one.address == address; });
    });
}

bool isInSubnet(const LiveInterface& live, const std::string& address)
{
    const auto wanted = NetworkAddress::parse(address);
    return live.hasLink && std::any_of(live.addresses.begin(), live.addresses.end(), [&](const auto& entry) {
               const auto own = NetworkAddress::of(entry.address, entry.mask); // empty for IPv6
               return own && own->length < 32 && own->contains(*wanted);
           });
}

bool holds(const std::vector<std::string>& addresses, const std::string& address)
{
    return std::find(addresses.begin(), addresses.end(), address) != addresses.end();
}

} // namespace

std::vector<AskedNeighbour> askNeighbours(IDevice& device, const Configuration& before, const Configuration& after,
                                          const LiveState& live, bool isLive)
{
    std::vector<AskedNeighbour> asked;
    const auto ask = [&](const std::string& name, const std::string& address, bool isGateway) {
        const bool isOwnAddress = isOwn(live, address);
        const bool isOfInterest = isLive ? isOwnAddress != isGateway : !isOwnAddress;
        if (!isOfInterest || !isCanonicalAddress(address) || !isInSubnet(live.interfaces.at(name), address)) {
            return;
        }
        if (auto question = device.ask(name, address, isOwnAddress)) {
            asked.push_back({name, address, isGateway, device.now(), std::move(question)});
        }
    };
    for (const auto& [name, iface] : after.interfaces) {
        const auto known = before.interfaces.find(name);
        const auto& old = known == before.interfaces.end() ? ConfiguredInterface() : known->second;
        for (const auto& address : iface.addresses) {
            if (!holds(old.addresses, address)) {
                ask(name, address.substr(0, address.find('/')), false);
            }
        }
        const bool isKept = !isLive && (iface.gateway == old.gateway || iface.gateway == live.gateway);
        if (!isKept && !iface.dhcp) {
            ask(name, iface.gateway, true);
        }
    }
    return asked;
}

std::vector<std::string> faultsOfNeighbours(const IDevice& device, const std::vector<AskedNeighbour>& asked,
                                            milliseconds limit)
{
    std::vector<std::string> faults;
    for (const auto& [name, address, isGateway, time, question] : asked) {
        const auto left = time + (isGateway ? limit : kSilence) - device.now();
        const bool isAnswered = question->isAnswered(std::max(left, milliseconds(0)));
        if (isGateway && !isAnswered) {
            faults.push_back("the gateway " + address + " does not answer over ");
            faults.back() += name;
        } else if (!isGateway && isAnswered) {
            faults.push_back("the address " + address + " is taken: another device answers for it over ");
            faults.back() += name;
        }
    }
    return faults;
}

std::vector<std::string> unansweredOrTaken(IDevice& device, const Configuration& configuration)
{
    constexpr milliseconds kLimit(3000);
    return faultsOfNeighbours(device, askNeighbours(device, {}, configuration, readLiveState(device), true), kLimit);
}

} // namespace networkhost
