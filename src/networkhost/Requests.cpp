// SPDX-License-Identifier: MIT
#include "networkhost/Requests.h"

#include "base/IpHelper.h"
#include "networkhost/Backend.h"
#include "networkhost/Checks.h"
#include "networkhost/Configuration.h"
#include "networkhost/Missing.h"
#include "networkhost/ReportingSystem.h"
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

namespace networkhost {

using velbase2::nsa::common::IpSettings;
namespace iphelper = velbase2::system::iphelper;

namespace {

using Manager = networkmanager::detail::NetworkManagerImpl<Backend>;

Outcome refused(const std::string& reason, const std::string& status = {})
{
    Outcome outcome;
    outcome.status = status;
    outcome.reason = reason;
    return outcome;
}

/// Without a live gateway, as with the cable out, the one of the files is carried over.
class SystemThatKeepsTheGateway : public ReportingSystem
{
public:
    SystemThatKeepsTheGateway(networkmanager::ISystemIF& device, std::vector<Failure>& failures, std::string configured)
        : ReportingSystem(device, failures), configured_(std::move(configured))
    {}

    std::string getGateway() const override
    {
        const auto live = ReportingSystem::getGateway();
        return live.empty() ? configured_ : live;
    }

private:
    std::string configured_;
};

/// For a gateway that the kernel has already and the files have not.
class SystemWithGateway : public ReportingSystem
{
public:
    using ReportingSystem::ReportingSystem;

    std::string getGateway() const override { return {}; } // whatever it is, it is to be written
    bool checkSettingsGateway(const std::string& /*gateway*/, std::string& /*errorMessage*/) override { return true; }
};

/// Runs the operation of a manager that is not started. `reason` serves where the library gives none.
template <class System = ReportingSystem, class... More>
Outcome run(IDevice& device, const std::function<bool(Manager&)>& operation, const std::string& reason, More... more)
{
    Outcome outcome;
    const Backend backend(device.files());
    Manager manager(backend, std::make_unique<System>(device.system(), outcome.failures, more...));
    manager.getSignals().requestStatus.connect([&outcome](const std::string& status) { outcome.status = status; });
    outcome.isDone = operation(manager);
    if (outcome.isDone) {
        return outcome;
    }
    for (const auto& failure : outcome.failures) {
        outcome.reason += (outcome.reason.empty() ? "" : "; ") + failure.text();
    }
    if (outcome.reason.empty()) {
        const bool isSilent = outcome.status.empty() || outcome.status == networkmanager::status::kInternalError;
        outcome.reason = isSilent ? reason : outcome.status;
    }
    return outcome;
}

/// Whether the library takes a prefix length with a text behind it, or before it, which the daemons ignore.
bool hasOddLength(const std::string& destination)
{
    const auto slash = destination.find('/');
    return slash != std::string::npos && !faultOfPrefixLength(destination.substr(slash + 1)).empty() &&
           networkmanager::checkValidRoute(destination);
}

/// What the daemons would ignore although the library takes it; empty for nothing.
std::string faultOfLengths(const std::string& routes)
{
    try {
        for (const auto& route : networkmanager::extract(routes)) {
            if (hasOddLength(route.destination)) {
                return "Invalid route format: " + route.destination + ": " + faultOfDestination(route.destination);
            }
        }
    } catch (const std::logic_error&) {
        return {}; // the library says why
    }
    return {};
}

/// The routes with their addresses in canonical text: the daemons ignore some that the library accepts.
std::string canonicalRoutes(const std::string& routes)
{
    std::string canonical;
    try {
        for (const auto& route : networkmanager::extract(routes)) {
            if (!faultOfDestination(route.destination).empty() || !faultOfAddress(route.gateway).empty()) {
                return routes; // to be refused in the library's words
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

/// The texts of a refused route end in what was refused.
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
    return std::any_of(networkmanager::kBuiltInInterfaces.begin(), networkmanager::kBuiltInInterfaces.end(),
                       [&](const auto& builtIn) {
                           const auto& configured = configuration.interfaces.at(builtIn.name);
                           return builtIn.holdsGateway && (configured.dhcp || configured.gateway == gateway);
                       });
}

/// Which interface takes its settings by DHCP, and so brings the gateway.
std::string dhcpInterface(IDevice& device)
{
    for (const auto& [name, iface] : networkmanager::EthernetInterfaces().interfaces) {
        if (device.system().getDhcpUsed(iface)) {
            return name;
        }
    }
    return {};
}

} // namespace

Outcome setIp(IDevice& device, const std::string& interfaceName, const IpSettings& settings)
{
    if (const auto fault = faultOfSettings(settings); !fault.empty()) {
        return refused(fault, networkmanager::status::kInvalidIpOrMask);
    }
    auto canonical = settings;
    if (!settings.dhcp) {
        canonical.ip = iphelper::cleanupIP(settings.ip);
        canonical.mask = iphelper::cleanupIP(settings.mask);
    }
    const auto configuration = readConfiguration(device.files());
    const auto configured = configuration.interfaces.find(interfaceName);
    if (configured == configuration.interfaces.end()) {
        return refused("there is no managed interface '" + printable(interfaceName) + "'",
                       networkmanager::status::kInternalError);
    }
    const auto operation = [&](Manager& manager) {
        // The cell holds what the file says. The library takes an equal request for done, and so it is only when the
        // daemons have it.
        if (!missing(onlyInterface(configuration, interfaceName), readLiveState(device)).empty()) {
            manager.getInterfaces().at(interfaceName).ipSettings.assign_and_signal(IpSettings());
        }
        return manager.setIp(interfaceName, canonical);
    };
    return run<SystemThatKeepsTheGateway>(device, operation, interfaceName + " is absent: it has no MAC address",
                                          configured->second.gateway);
}

Outcome setGateway(IDevice& device, const std::string& gateway)
{
    if (const auto fault = faultOfAddress(gateway); !fault.empty()) {
        return refused(fault, networkmanager::status::kInvalidIpOrMask);
    }
    const auto address = iphelper::cleanupIP(gateway);
    const auto operation = [&](Manager& manager) { return manager.setGateway(address); };
    const std::string reason = "the request was refused";
    auto outcome = run(device, operation, reason);
    if (outcome.isNothingToChange() && !isConfiguredGateway(device.files(), address)) {
        outcome = run<SystemWithGateway>(device, operation, reason);
    }
    if (outcome.status == networkmanager::status::kGatewayFromDhcp) {
        const auto name = dhcpInterface(device);
        outcome.reason += " " + name + " uses DHCP: give " + name + " a static address first (set-ip)";
    }
    return outcome;
}

Outcome setDnsServer(IDevice& device, const std::string& address, unsigned int index)
{
    if (const auto fault = faultOfAddress(address); !fault.empty()) {
        return refused(fault);
    }
    return run(device, [&](Manager& manager) { return manager.setDnsServer(iphelper::cleanupIP(address), index); }, {});
}

Outcome setDnsDomain(IDevice& device, const std::string& domain)
{
    if (const auto fault = faultOfText(domain); !fault.empty()) {
        return refused(fault);
    }
    return run(device, [&](Manager& manager) { return manager.setDnsDomain(domain); }, {});
}

Outcome setRoutes(IDevice& device, const std::string& interfaceName, const std::string& routes)
{
    for (const auto& fault : {faultOfText(routes, true), faultOfLengths(routes)}) {
        if (!fault.empty()) {
            return refused(fault);
        }
    }
    try {
        auto outcome = run(
            device, [&](Manager& manager) { return manager.setRoutes(interfaceName, canonicalRoutes(routes)); }, {});
        if (const auto fault = faultOfRoutes(outcome.status); !fault.empty()) {
            outcome.reason += ": " + fault;
        }
        return outcome;
    } catch (const std::out_of_range& error) {
        const bool isUnknown = error.what() == std::string("map::at");
        return refused(isUnknown ? "there is no managed interface '" + printable(interfaceName) + "'"
                                 : "a route without \"gw=\", or a prefix length out of range");
    }
}

} // namespace networkhost
