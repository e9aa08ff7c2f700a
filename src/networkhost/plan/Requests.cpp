// SPDX-License-Identifier: MIT
#include "networkhost/plan/Requests.h"

#include "base/IpHelper.h"
#include "networkhost/plan/DnsServers.h"
#include "networkhost/plan/PlanningSystem.h"
#include "networkhost/plan/Review.h"
#include "networkhost/state/Backend.h"
#include "networkhost/state/Configuration.h"
#include "networkhost/state/Missing.h"
#include "networkhost/text/Addresses.h"
#include "networkhost/text/Checks.h"
#include "networkmanager/BuiltInInterfaces.h"
#include "networkmanager/NetworkManagerImpl.h"
#include "networkmanager/RequestStatus.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <boost/algorithm/string/join.hpp>

namespace networkhost {

using velbase2::nsa::common::IpSettings;
namespace iphelper = velbase2::system::iphelper;

namespace {

using Manager = networkmanager::detail::NetworkManagerImpl<Backend>;

constexpr const char* kBothTogether = "give the address and the gateway together";

Plan refusedPlan(const std::string& title, const std::string& reason, const std::string& status = {})
{
    Plan plan;
    plan.title = title;
    plan.refusal = reason;
    plan.status = status;
    return plan;
}

Plan unknownInterface(const std::string& title, const std::string& interfaceName)
{
    return refusedPlan(title, "there is no managed interface '" + printable(interfaceName) + "'",
                       networkmanager::status::kInternalError);
}

bool isManaged(const std::string& interfaceName)
{
    const auto& all = networkmanager::kBuiltInInterfaces;
    return std::any_of(all.begin(), all.end(), [&](const auto& iface) { return iface.name == interfaceName; });
}

/// Returns the request in the form of velnetctl's command.
std::string titleOf(const std::vector<std::string>& words)
{
    std::string title;
    for (const auto& word : words) {
        title += (title.empty() || word.empty() ? "" : " ") + printable(word);
    }
    return title;
}

using Operation = std::function<bool(Manager& manager, PlanningSystem& system)>;

/// Runs the operation with a manager that is not started. `reason` is used when libVelNetworkManager gives none. The
/// plan is not reviewed.
Plan makePlan(IDevice& device, const std::string& title, const Operation& operation,
              const std::string& reason = "the request was refused")
{
    Plan plan;
    plan.title = title;
    const Backend backend(device.files());
    auto owned = std::make_unique<PlanningSystem>(device, plan);
    auto& system = *owned;
    Manager manager(backend, std::move(owned));
    manager.getSignals().requestStatus.connect([&plan](const std::string& status) { plan.status = status; });
    if (!operation(manager, system)) {
        plan.files.clear();
        plan.preparations.clear();
        plan.activations.clear();
        if (!plan.isNothingToChange()) {
            const bool isSilent = plan.status.empty() || plan.status == networkmanager::status::kInternalError;
            plan.refusal = plan.failures.empty() ? (isSilent ? reason : plan.status) : textOf(plan.failures);
        }
    }
    return plan;
}

/// Whether libVelNetworkManager accepts a prefix length with text before or after the number. The daemons ignore such a
/// destination.
bool hasOddLength(const std::string& destination)
{
    const auto slash = destination.find('/');
    return slash != std::string::npos && !faultOfPrefixLength(destination.substr(slash + 1)).empty() &&
           networkmanager::checkValidRoute(destination);
}

/// Names the first route that libVelNetworkManager accepts but the daemons would ignore. Empty when there is none.
std::string faultOfLengths(const std::string& routes)
{
    try {
        for (const auto& route : networkmanager::extract(routes)) {
            if (hasOddLength(route.destination)) {
                return "Invalid route format: " + route.destination + ": " + faultOfDestination(route.destination);
            }
        }
    } catch (const std::logic_error&) {
        return {}; // libVelNetworkManager gives the reason
    }
    return {};
}

/// Writes the addresses of the routes in canonical form, because the daemons ignore some forms that
/// libVelNetworkManager accepts.
std::string canonicalRoutes(const std::string& routes)
{
    std::string canonical;
    try {
        for (const auto& route : networkmanager::extract(routes)) {
            if (!faultOfDestination(route.destination).empty() || !faultOfAddress(route.gateway).empty()) {
                return routes; // libVelNetworkManager refuses them in its own words
            }
            const auto slash = std::min(route.destination.find('/'), route.destination.size());
            canonical += (canonical.empty() ? "dst=" : " dst=") +
                         iphelper::cleanupIP(route.destination.substr(0, slash)) + route.destination.substr(slash) +
                         " gw=" + iphelper::cleanupIP(route.gateway);
        }
    } catch (const std::logic_error&) {
        return routes;
    }
    return canonical;
}

/// The reason for which a route was refused. The status text ends with the refused part.
std::string faultOfRoutes(const std::string& status)
{
    const auto rest = [&status](const std::string& prefix) {
        return status.rfind(prefix, 0) == 0 ? std::optional(status.substr(prefix.size())) : std::nullopt;
    };
    if (const auto destination = rest("Invalid route format: ")) {
        return faultOfDestination(*destination);
    }
    const auto gateway = rest("Invalid gateway format: ");
    return gateway ? faultOfAddress(*gateway) : std::string();
}

bool isConfiguredGateway(const IFiles& files, const std::string& gateway)
{
    const auto configuration = readConfiguration(files);
    const auto& configured = configuration.interfaces.at(gatewayInterface());
    return configured.dhcp || configured.gateway == gateway;
}

/// The interface that uses DHCP. Its lease brings the gateway.
std::string dhcpInterface(IDevice& device)
{
    for (const auto& [name, iface] : networkmanager::EthernetInterfaces().interfaces) {
        if (device.system().getDhcpUsed(iface)) {
            return name;
        }
    }
    return {};
}

/// The gateway to keep. This is the live one. When there is none, for example with the cable out, it is the configured
/// one.
std::string presentGateway(IDevice& device, const ConfiguredInterface& configured)
{
    const auto live = device.system().getGateway();
    return live.empty() ? configured.gateway : live;
}

std::string titleOf(const std::string& interfaceName, const IpSettings& settings)
{
    return titleOf({"set-ip", interfaceName, settings.dhcp ? "dhcp" : withPrefixLength(settings.ip, settings.mask),
                    settings.gateway.empty() ? "" : "--gateway " + settings.gateway});
}

std::string adviceFor(const IpSettings& settings)
{
    return settings.gateway.empty() ? kBothTogether : "";
}

Plan unreviewedIpPlan(IDevice& device, const std::string& interfaceName, const IpSettings& settings,
                      const std::string& title)
{
    if (const auto fault = faultOfSettings(settings); !fault.empty()) {
        return refusedPlan(title, fault, networkmanager::status::kInvalidIpOrMask);
    }
    const auto configuration = readConfiguration(device.files());
    const auto configured = configuration.interfaces.find(interfaceName);
    if (configured == configuration.interfaces.end()) {
        return unknownInterface(title, interfaceName);
    }
    if (!settings.gateway.empty()) {
        if (const auto fault = faultOfAddress(settings.gateway); !fault.empty()) {
            return refusedPlan(title, fault, networkmanager::status::kInvalidIpOrMask);
        }
        if (settings.dhcp || interfaceName != gatewayInterface()) {
            return refusedPlan(title, settings.dhcp ? "with DHCP, the gateway comes with the lease"
                                                    : interfaceName + " does not hold the default gateway");
        }
    }
    auto canonical = settings;
    canonical.gateway.clear();
    if (!settings.dhcp) {
        canonical.ip = iphelper::cleanupIP(settings.ip);
        canonical.mask = iphelper::cleanupIP(settings.mask);
    }
    const auto gateway =
        settings.gateway.empty() ? presentGateway(device, configured->second) : iphelper::cleanupIP(settings.gateway);
    const auto written = gateway == kNoAddress ? std::string() : gateway;
    const bool isOtherGateway = !settings.gateway.empty() && written != configured->second.gateway;
    const auto operation = [&](Manager& manager, PlanningSystem& system) {
        system.setGateway(written);
        // The cell holds the settings of the file, and libVelNetworkManager refuses an equal request. Therefore the
        // cell is cleared unless the settings are live with this gateway.
        if (isOtherGateway || !missing(onlyInterface(configuration, interfaceName), readLiveState(device)).empty()) {
            manager.getInterfaces().at(interfaceName).ipSettings.assign_and_signal(IpSettings());
        }
        return manager.setIp(interfaceName, canonical);
    };
    return makePlan(device, title, operation, interfaceName + " is absent: it has no MAC address");
}

} // namespace

Plan planIp(IDevice& device, const std::string& interfaceName, const IpSettings& settings)
{
    return reviewed(device, unreviewedIpPlan(device, interfaceName, settings, titleOf(interfaceName, settings)),
                    adviceFor(settings));
}

Plan planIp(IDevice& device, const std::string& interfaceName, const IpSettings& settings,
            const std::vector<std::string>& dnsServers)
{
    const auto title = titleOf({titleOf(interfaceName, settings), "--dns",
                                dnsServers.empty() ? "none" : boost::algorithm::join(dnsServers, " ")});
    std::vector<std::string> servers;
    for (const auto& server : dnsServers) {
        if (const auto fault = faultOfAddress(server); !fault.empty()) {
            return refusedPlan(title, fault);
        }
        servers.push_back(iphelper::cleanupIP(server));
    }
    auto plan = unreviewedIpPlan(device, interfaceName, settings, title);
    if (plan.isRefused()) {
        return plan;
    }
    if (const auto reason = addDnsServers(device, servers, plan); !reason.empty()) {
        return refusedPlan(title, reason);
    }
    if (!plan.files.empty()) {
        plan.status = networkmanager::status::kOk;
    }
    return reviewed(device, std::move(plan), adviceFor(settings));
}

Plan planGateway(IDevice& device, const std::string& gateway)
{
    const auto title = titleOf({"set-gateway", gateway});
    if (const auto fault = faultOfAddress(gateway); !fault.empty()) {
        return refusedPlan(title, fault, networkmanager::status::kInvalidIpOrMask);
    }
    const auto address = iphelper::cleanupIP(gateway);
    auto plan = makePlan(device, title, [&](Manager& manager, PlanningSystem&) { return manager.setGateway(address); });
    if (plan.isNothingToChange() && !isConfiguredGateway(device.files(), address)) {
        const auto operation = [&](Manager& manager, PlanningSystem& system) {
            system.ignoreGateway(); // it is live, but must be written as well
            return manager.setGateway(address);
        };
        plan = makePlan(device, title, operation);
    }
    if (plan.status == networkmanager::status::kGatewayFromDhcp) {
        const auto name = dhcpInterface(device);
        plan.refusal += " " + name + " uses DHCP: give " + name + " a static address first (set-ip)";
    }
    return reviewed(device, std::move(plan), kBothTogether);
}

Plan planDnsServer(IDevice& device, const std::string& address, unsigned int index)
{
    const auto title = titleOf({"set-dns", std::to_string(index), address});
    if (const auto fault = faultOfAddress(address); !fault.empty()) {
        return refusedPlan(title, fault);
    }
    return reviewed(device, makePlan(device, title, [&](Manager& manager, PlanningSystem&) {
                        return manager.setDnsServer(iphelper::cleanupIP(address), index);
                    }));
}

Plan planDnsDomain(IDevice& device, const std::string& domain)
{
    const auto title = titleOf({"set-domain", domain});
    if (const auto fault = faultOfText(domain); !fault.empty()) {
        return refusedPlan(title, fault);
    }
    return reviewed(device, makePlan(device, title,
                                     [&](Manager& manager, PlanningSystem&) { return manager.setDnsDomain(domain); }));
}

Plan planRoutes(IDevice& device, const std::string& interfaceName, const std::string& routes)
{
    const auto title = titleOf({"set-routes", interfaceName, routes});
    if (const auto fault = faultOfText(routes, true); !fault.empty()) {
        return refusedPlan(title, fault);
    }
    if (!isManaged(interfaceName)) {
        return unknownInterface(title, interfaceName);
    }
    const auto operation = [&](Manager& manager, PlanningSystem&) {
        return manager.setRoutes(interfaceName, canonicalRoutes(routes));
    };
    try {
        auto plan = reviewed(device, makePlan(device, title, operation));
        if (const auto fault = faultOfRoutes(plan.status); !fault.empty()) {
            plan.refusal += ": " + fault;
        }
        if (const auto fault = faultOfLengths(routes); !fault.empty()) {
            plan.objections.insert(plan.objections.begin(), fault);
        }
        return plan;
    } catch (const std::out_of_range&) {
        return refusedPlan(title, "a route without \"gw=\", or a prefix length out of range");
    }
}

} // namespace networkhost
