// SPDX-License-Identifier: MIT
#include "Change.h"

#include "LiveState.h"
#include "ReportingSystem.h"
#include "Text.h"
#include "base/IpHelper.h"
#include "networkmanager/NetworkManagerData.h"
#include "networkmanager/system/Helper.h"

#include <algorithm>
#include <functional>
#include <iostream>
#include <stdexcept>

namespace velnetctl {

using networkmanager::EthInterface;
using velbase2::nsa::common::IpSettings;
namespace iphelper = velbase2::system::iphelper;

namespace {

constexpr const char* kNone = "none";
constexpr const char* kNoAddress = "0.0.0.0";
constexpr const char* kRefused = "the request was refused";
constexpr auto kTimeToSettle = std::chrono::seconds(3);

void warn(const std::string& text)
{
    std::cerr << "velnetctl: warning: " << text << '\n';
}
void fail(const std::string& text)
{
    std::cerr << "velnetctl: " << text << '\n';
}

/// A manager that is not started, over a system that notes failures. Its cells hold what the files say.
class Device
{
public:
    using Manager = networkmanager::detail::NetworkManagerImpl<networkmanager::NetworkManagerData::Backend>;

    Device()
    {
        manager_.getSignals().requestStatus.connect([this](const std::string& status) {
            status_ = status;
            std::cout << status << std::endl;
        });
    }

    Manager& manager() { return manager_; }
    const networkmanager::ISystemIF& system() const { return system_; }

    const EthInterface& gatewayInterface()
    {
        return std::find_if(interfaces_.begin(), interfaces_.end(),
                            [](const auto& entry) { return entry.second.holdsGateway; })
            ->second;
    }

    /// A change while an address or the default route is away would lose it: both are read from the live state.
    void settle(const EthInterface& iface) const
    {
        const auto lacking = waitWhileMissing([&] { return missingOfFiles(system_, iface); }, kTimeToSettle);
        if (!lacking.empty()) {
            warn("the live state lacks " + lacking + ", which the change may lose");
        }
    }

    /// Runs the request, tells why it was refused, and waits for its effect. `reason` serves where the library is
    /// silent.
    bool run(const std::function<bool()>& request, const std::string& reason, Wait wait,
             const std::function<std::string()>& missing)
    {
        bool isDone = false;
        try {
            isDone = request();
        } catch (const std::out_of_range&) {
            fail("a route without \"gw=\", or a prefix length out of range");
            return false;
        }
        if (!isDone && status_ != "nothing to change") {
            if (failures_.empty()) {
                failures_.push_back(status_.empty() || status_ == "internal error" ? reason : status_);
            }
            std::for_each(failures_.begin(), failures_.end(), fail);
            return false;
        }
        if (status_.empty()) {
            std::cout << "OK" << std::endl; // requests that emit no status
        }
        if (const auto lacking = wait ? waitWhileMissing(missing, *wait) : std::string(); !lacking.empty()) {
            fail("after " + std::to_string(wait->count()) + " s the live state still lacks " + lacking + "; it shows " +
                 shown());
            return false;
        }
        return true;
    }

private:
    std::string shown() const
    {
        std::string text;
        for (const auto& [name, iface] : interfaces_) {
            const auto live = networkmanager::helper::getIpSettingsWithFirstIpv4(system_.getAddresses(name));
            text += name + ' ' + settingsText(live) + ", ";
        }
        return text + "gateway " + orNone(system_.getGateway());
    }

    std::vector<std::string> failures_;
    std::string status_;
    networkmanager::NetworkManagerData::Backend backend_;
    ReportingSystem system_{failures_};
    Manager manager_{backend_, std::make_unique<ReportingSystem>(failures_)};
    std::map<std::string, EthInterface>& interfaces_ = manager_.getInterfaces();
};

IpSettings requestedSettings(const std::string& address, const std::string& mask)
{
    IpSettings settings;
    settings.dhcp = address == "dhcp";
    if (settings.dhcp) {
        return settings;
    }
    const auto slash = address.find('/');
    settings.ip = address.substr(0, slash);
    settings.mask = mask;
    if (slash != std::string::npos) {
        // As text: what is no prefix length leaves a mask that the library refuses.
        const auto length = address.substr(slash + 1);
        const bool isNumber =
            !length.empty() && length.size() <= 2 && length.find_first_not_of("0123456789") == std::string::npos;
        settings.mask = isNumber ? iphelper::subnetBitsToMask(std::stoi(length)) : std::string();
    }
    return settings;
}

} // namespace

bool setIp(const std::string& interfaceName, const std::string& address, const std::string& mask, Wait wait)
{
    Device device;
    const auto& iface = device.manager().getInterface(interfaceName);
    device.settle(iface);
    const auto settings = requestedSettings(address, mask);
    const auto gateway = iface.holdsGateway && !settings.dhcp ? device.system().getGateway() : std::string();
    if (!gateway.empty() && networkOf(gateway, settings.mask) != networkOf(settings.ip, settings.mask)) {
        warn("the gateway " + gateway + " is carried over and does not lie in the new subnet: its route will not come");
    }
    return device.run([&] { return device.manager().setIp(interfaceName, settings); },
                      interfaceName + " is absent: it has no MAC address", wait,
                      [&] { return missingOfSettings(device.system(), iface, settings); });
}

bool setGateway(const std::string& gateway, Wait wait)
{
    Device device;
    device.settle(device.gatewayInterface());
    const auto address = gateway == kNone ? kNoAddress : gateway;
    const auto wanted = iphelper::cleanupIP(address);
    return device.run([&] { return device.manager().setGateway(address); }, kRefused, wait,
                      [&] { return missingOfGateway(device.system(), wanted == kNoAddress ? "" : wanted); });
}

bool setDns(unsigned int index, const std::string& address, Wait wait)
{
    Device device;
    // The absence of a cleared server shows nothing: a lease may bring the same one.
    const auto wanted = address == kNone ? std::string() : iphelper::cleanupIP(address);
    return device.run([&] { return device.manager().setDnsServer(wanted.empty() ? kNoAddress : address, index); },
                      "'" + address + "' is not a valid IPv4 address", wait,
                      [&] { return missingOfResolver("nameserver", wanted); });
}

bool setDomain(const std::string& domain, Wait wait)
{
    Device device;
    return device.run([&] { return device.manager().setDnsDomain(domain); }, kRefused, wait,
                      [&] { return missingOfResolver("search", domain); });
}

bool setRoutes(const std::string& interfaceName, const std::string& routes, Wait wait)
{
    Device device;
    const auto& iface = device.manager().getInterface(interfaceName);
    device.settle(iface);
    const auto before = routesOfFile(iface);
    return device.run([&] { return device.manager().setRoutes(interfaceName, routes); }, kRefused, wait,
                      [&] { return missingOfRoutes(iface, before); });
}

} // namespace velnetctl
