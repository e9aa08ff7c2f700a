// SPDX-License-Identifier: MIT
#include "Change.h"

#include "base/IpHelper.h"
#include "networkhost/Addresses.h"
#include "networkhost/Checks.h"
#include "networkhost/Configuration.h"
#include "networkhost/LiveState.h"
#include "networkhost/Missing.h"
#include "networkhost/Requests.h"
#include "networkhost/Text.h"
#include "networkmanager/BuiltInInterfaces.h"
#include "networkmanager/RequestStatus.h"
#include "networkmanager/system/Helper.h"

#include <algorithm>
#include <cctype>

namespace velnetctl {

using networkhost::Configuration;
using networkhost::Outcome;
using velbase2::nsa::common::IpSettings;
namespace iphelper = velbase2::system::iphelper;

namespace {

constexpr const char* kNone = "none";
constexpr const char* kNoAddress = "0.0.0.0";
constexpr auto kTimeToSettle = std::chrono::seconds(3);

const networkmanager::BuiltInInterface& gatewayInterface()
{
    return *std::find_if(networkmanager::kBuiltInInterfaces.begin(), networkmanager::kBuiltInInterfaces.end(),
                         [](const auto& entry) { return entry.holdsGateway; });
}

/// A change of the gateway while an address is away would lose it: it is read from the live state.
void settle(Session& session, const std::string& interfaceName)
{
    auto configured = onlyInterface(networkhost::readConfiguration(session.device.files()), interfaceName);
    configured.interfaces.at(interfaceName).routes.clear(); // no change reads them
    const auto lacking = networkhost::waitUntilLive(session.device, configured, kTimeToSettle);
    if (!lacking.empty()) {
        warn(session, "the live state lacks " + lacking + ", which is configured");
    }
}

/// Prints the outcome. True unless the request was refused or failed.
bool report(Session& session, const Outcome& outcome)
{
    if (outcome.isDone || outcome.isNothingToChange()) {
        const bool isSilent = outcome.status.empty(); // the library emits nothing for DNS
        session.output << (isSilent ? networkmanager::status::kOk : outcome.status) << std::endl;
        return true;
    }
    const bool isStatusToo = outcome.status == networkmanager::status::kInvalidIpOrMask;
    fail(session, isStatusToo ? outcome.status + ": " + outcome.reason : outcome.reason);
    return false;
}

std::string shownBy(const networkhost::LiveState& live)
{
    std::string text;
    for (const auto& [name, iface] : live.interfaces) {
        const auto settings = networkmanager::helper::getIpSettingsWithFirstIpv4(iface.addresses);
        text += name + ' ' + networkhost::toText(settings) + ", ";
    }
    return text + "gateway " + networkhost::toText(live.gateway);
}

/// Waits for what `select` takes of the configuration.
template <class Select>
bool awaitEffect(Session& session, Wait wait, const Configuration& before, Select select)
{
    if (!wait) {
        return true;
    }
    const auto wanted = select(networkhost::readConfiguration(session.device.files()));
    const auto lacking = networkhost::waitUntilLive(session.device, wanted, *wait, select(before));
    if (!lacking.empty()) {
        fail(session, "after " + std::to_string(wait->count()) + " s the live state still lacks " + lacking +
                          "; it shows " + shownBy(networkhost::readLiveState(session.device)));
    }
    return lacking.empty();
}

bool awaitInterface(Session& session, Wait wait, const Configuration& before, const std::string& interfaceName)
{
    return awaitEffect(session, wait, before,
                       [&](const Configuration& configuration) { return onlyInterface(configuration, interfaceName); });
}

std::string lowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char letter) { return std::tolower(letter); });
    return text;
}

bool isDhcp(const std::string& address)
{
    return lowerCase(address) == "dhcp";
}

/// Why ADDRESS and MASK make no settings; empty when they do.
std::string faultOf(const std::string& address, const std::string& mask)
{
    if (isDhcp(address)) {
        return {};
    }
    const auto fault = networkhost::faultOfDestination(address);
    return fault.empty() && !mask.empty() ? networkhost::faultOfMask(mask) : fault;
}

IpSettings requestedSettings(const std::string& address, const std::string& mask)
{
    IpSettings settings;
    settings.dhcp = isDhcp(address);
    if (!settings.dhcp) {
        const auto slash = address.find('/');
        settings.ip = address.substr(0, slash);
        settings.mask =
            slash == std::string::npos ? mask : iphelper::subnetBitsToMask(std::stoi(address.substr(slash + 1)));
    }
    return settings;
}

void warnOfGateway(Session& session, const IpSettings& settings)
{
    const auto gateway = session.device.system().getGateway();
    const bool isOutside =
        networkhost::networkOf(gateway, settings.mask) != networkhost::networkOf(settings.ip, settings.mask);
    if (!gateway.empty() && !settings.dhcp && isOutside) {
        warn(session,
             "the gateway " + gateway + " is carried over and does not lie in the new subnet: its route will not come");
    }
}

} // namespace

bool setIp(Session& session, const std::string& interfaceName, const std::string& address, const std::string& mask,
           Wait wait)
{
    if (const auto fault = faultOf(address, mask); !fault.empty()) {
        fail(session, std::string(networkmanager::status::kInvalidIpOrMask) + ": " + fault);
        return false;
    }
    const auto settings = requestedSettings(address, mask);
    settle(session, interfaceName);
    if (interfaceName == gatewayInterface().name) {
        warnOfGateway(session, settings);
    }
    const auto before = networkhost::readConfiguration(session.device.files());
    return report(session, networkhost::setIp(session.device, interfaceName, settings)) &&
           awaitInterface(session, wait, before, interfaceName);
}

bool setGateway(Session& session, const std::string& gateway, Wait wait)
{
    const auto address = lowerCase(gateway) == kNone ? kNoAddress : gateway;
    const std::string interfaceName = gatewayInterface().name;
    if (networkhost::faultOfAddress(address).empty()) {
        settle(session, interfaceName);
    }
    const auto before = networkhost::readConfiguration(session.device.files());
    return report(session, networkhost::setGateway(session.device, address)) &&
           awaitInterface(session, wait, before, interfaceName);
}

bool setDns(Session& session, unsigned int index, const std::string& address, Wait wait)
{
    const auto server = lowerCase(address) == kNone ? kNoAddress : address;
    const auto before = networkhost::readConfiguration(session.device.files());
    return report(session, networkhost::setDnsServer(session.device, server, index)) &&
           awaitEffect(session, wait, before, networkhost::onlyResolver);
}

bool setDomain(Session& session, const std::string& domain, Wait wait)
{
    const auto before = networkhost::readConfiguration(session.device.files());
    return report(session, networkhost::setDnsDomain(session.device, domain)) &&
           awaitEffect(session, wait, before, networkhost::onlyResolver);
}

bool setRoutes(Session& session, const std::string& interfaceName, const std::string& routes, Wait wait)
{
    settle(session, interfaceName);
    const auto before = networkhost::readConfiguration(session.device.files());
    return report(session, networkhost::setRoutes(session.device, interfaceName, routes)) &&
           awaitInterface(session, wait, before, interfaceName);
}

} // namespace velnetctl
