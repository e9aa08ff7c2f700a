// SPDX-License-Identifier: MIT
#pragma once

#include "../base/IpHelper.h"
#include "../base/IpSettings.h"
#include "../base/LogLine.h"
#include "../base/Paths.h"
#include "../base/ThisThread.h"
#include "../systemd/configuration/SystemdBackendDeclaration.h"
#include "DebugLog.h"
#include "DnsConfig.h"
#include "EthInterface.h"
#include "EthernetInterfaces.h"
#include "HostSignals.h"
#include "Refresher.h"
#include "RequestStatus.h"
#include "Routes.h"
#include "confighandler/ConfigHandler.h"
#include "system/Helper.h"
#include "system/ISystemIF.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace networkmanager::detail {

namespace log = velbase2::system::log;

/// The manager behind the facade: registry, host values, refresh thread, and set operations.
///
/// The host's threads call the operations. The refresh thread assigns the cells every 2 seconds and runs their slots. A
/// set operation changes files and restarts daemons, and its effect reaches the cells with the next refresh. It returns
/// true only on full success. It emits the outcome on `requestStatus`, whose slots run on the caller's thread.
template <class Backend>
class NetworkManagerImpl
{
public:
    using IpSettings = velbase2::nsa::common::IpSettings;

    /// Loads the configuration of every interface through `backend`, which must outlive the manager. Exceptions of the
    /// backend pass to the caller.
    explicit NetworkManagerImpl(const Backend& backend, std::unique_ptr<ISystemIF> system = SystemIF_Factory());
    NetworkManagerImpl(const NetworkManagerImpl&) = delete;
    NetworkManagerImpl& operator=(const NetworkManagerImpl&) = delete;
    ~NetworkManagerImpl() { stop(); }

    /// Starts the refresh thread. Does nothing while it runs, and nothing after stop().
    /// Throws std::system_error when no thread can be started.
    void start();

    /// Ends the refresh thread. This takes up to 2 seconds. A slot of that thread must not call it.
    void stop();

    /// Switches an interface to a static address or to DHCP. `settings.gateway` is only compared with that of the cell,
    /// which is empty. A static interface that holds the gateway keeps the present gateway. Returns false with the
    /// status "nothing to change" when the cell `ipSettings` equals the settings, or when both have DHCP. Calls run one
    /// after the other. A slot of `requestStatus` must not call this (deadlock), nor may a slot that HostSignals
    /// excludes.
    bool setIp(const std::string& interfaceName, const IpSettings& settings);

    /// Sets the default gateway. The interface that holds it becomes static with its present first address. "0.0.0.0"
    /// removes the gateway. While DHCP is in use, the call is refused unless the live gateway is "0.0.0.0".
    bool setGateway(const std::string& gateway);

    /// See DnsConfig. These two emit no status.
    bool setDnsServer(const std::string& address, unsigned int index);
    bool setDnsDomain(const std::string& domain);

    /// See Routes::set. Throws std::out_of_range for an unknown interface.
    bool setRoutes(const std::string& interfaceName, const std::string& routes);

    /// The registry, for connecting to the cells. Its set of entries never changes, and therefore it needs no lock.
    std::map<std::string, EthInterface>& getInterfaces() { return interfaces_; }

    /// Throws std::out_of_range for an unknown name.
    const EthInterface& getInterface(const std::string& interfaceName) const { return interfaces_.at(interfaceName); }

    HostSignals& getSignals() { return signals_; }

    // The steps of the operations above. They emit the same statuses.

    /// Checks the name, the address and mask of a static request, and whether the interface has a MAC address.
    bool setIpCheckIfValid(const std::string& interfaceName, const IpSettings& settings);

    /// Replaces the interface's main file and restarts systemd-networkd.
    bool writeSettings(const std::string& interfaceName, const IpSettings& settings, const std::string& gateway,
                       bool intComIf);

    /// Whether an interface that supports DHCP uses it now.
    bool dhcpEnabled();

    /// Installs the route at once to see whether the system accepts it, and then writes the file.
    bool doSetGateway(std::string gateway);

    /// Rewrites the file of the interface that holds the gateway. False, without a status, when no interface holds it.
    bool setGatewayToSystem(const std::string& gateway);

    /// Installs `replacement`, and sets `registry`. May be called only before start(), and only if no refresh will run,
    /// because the refresher keeps the system interface with which it was built.
    void injectSystemIF(std::unique_ptr<ISystemIF> replacement, std::map<std::string, EthInterface>*& registry);

private:
    static void mainLoop(const std::atomic<bool>& running, Refresher& refresher);

    /// Emits the status. Returns false, the result of a refused request.
    bool refuse(const std::string& status);

    const Backend& backend_;
    HostSignals signals_;
    std::unique_ptr<ISystemIF> system_;
    std::map<std::string, EthInterface> interfaces_;
    std::thread thread_;
    std::unique_ptr<Refresher> refresher_;
    std::atomic<bool> running_ = false;
    std::mutex requestLock_; // one setIp at a time
};

template <class Backend>
NetworkManagerImpl<Backend>::NetworkManagerImpl(const Backend& backend, std::unique_ptr<ISystemIF> system)
    : backend_(backend), system_(std::move(system)), interfaces_(EthernetInterfaces().interfaces),
      refresher_(std::make_unique<Refresher>(signals_, interfaces_, *system_))
{
    for (auto& entry : interfaces_) {
        backend_.load(entry.second);
    }
}

template <class Backend>
void NetworkManagerImpl<Backend>::start()
{
    if (running_ || !refresher_) {
        return;
    }
    running_ = true;
    try {
        thread_ = std::thread(&NetworkManagerImpl::mainLoop, std::cref(running_), std::ref(*refresher_));
    } catch (...) {
        running_ = false;
        throw;
    }
}

template <class Backend>
void NetworkManagerImpl<Backend>::stop()
{
    log::detail::logLine(log::kDetail, "stop network manager");
    if (!running_) {
        return;
    }
    running_ = false;
    if (thread_.joinable()) {
        thread_.join();
    }
    refresher_.reset();
}

template <class Backend>
void NetworkManagerImpl<Backend>::mainLoop(const std::atomic<bool>& running, Refresher& refresher)
{
    log::detail::logLine(log::kDetail, "start main loop");
    do {
        refresher.refresh();
        velbase2::system::this_thread::sleep_for(std::chrono::seconds(2));
    } while (running);
    log::detail::logLine(log::kDetail, "exit main loop");
}

template <class Backend>
bool NetworkManagerImpl<Backend>::setIp(const std::string& interfaceName, const IpSettings& settings)
{
    const std::lock_guard lock(requestLock_);
    if (!setIpCheckIfValid(interfaceName, settings)) {
        return false;
    }
    const auto& iface = interfaces_.at(interfaceName);
    const auto old = iface.ipSettings.get().value_or(IpSettings());
    debugLog("old ip settings for interface " + interfaceName, old);
    debugLog("new ip settings for interface " + interfaceName, settings);
    if (old == settings) {
        log::detail::logLine(log::kDetail, "old == new ip address -> nothing to do");
        return refuse(status::kNothingToChange);
    }
    if (settings.dhcp && !iface.dhcpSupported) {
        log::detail::logLine(log::kError, "Interface ", interfaceName, " supports no DHCP!");
        return refuse(status::kInternalError);
    }
    if (settings.dhcp && old.dhcp) {
        log::detail::logLine(log::kNotable, "No changes needed by dhcp mode");
        return refuse(status::kNothingToChange);
    }
    const bool keepsGateway = iface.holdsGateway && !settings.dhcp;
    return writeSettings(interfaceName, settings, keepsGateway ? system_->getGateway() : std::string(), iface.intComIf);
}

template <class Backend>
bool NetworkManagerImpl<Backend>::setIpCheckIfValid(const std::string& interfaceName, const IpSettings& settings)
{
    if (interfaceName.empty() || interfaces_.count(interfaceName) == 0) {
        log::detail::logLine(log::kError, "Got no valid interface to set ip! '", interfaceName, "'");
        return refuse(status::kInternalError);
    }
    if (!confighandler::ipSettingsValid(settings)) {
        return refuse(status::kInvalidIpOrMask);
    }
    const auto macAddress = system_->getMacAddress(interfaceName);
    log::detail::logLine(log::kDetail, "Mac address: '", macAddress, "' of interface: ", interfaceName);
    return !macAddress.empty() || refuse(status::kInternalError);
}

template <class Backend>
bool NetworkManagerImpl<Backend>::writeSettings(const std::string& interfaceName, const IpSettings& settings,
                                                const std::string& gateway, bool intComIf)
{
    const auto content = confighandler::createConfig(interfaceName, settings, gateway, intComIf);
    const auto path = velbase2::system::paths::ofInterface(interfaces_.at(interfaceName).networkFile);
    bool isDone = false;
    if (system_->writeToConfFile(path, content)) {
        log::detail::logLine(log::kNotable, "change ip settings from networkd daemon");
        isDone = system_->reloadSettings();
    } else {
        log::detail::logLine(log::kError, "Writing to config file failed!");
    }
    signals_.requestStatus(isDone ? status::kOk : status::kInternalError);
    return isDone;
}

template <class Backend>
bool NetworkManagerImpl<Backend>::dhcpEnabled()
{
    return std::any_of(interfaces_.begin(), interfaces_.end(), [this](const auto& entry) {
        return entry.second.dhcpSupported && system_->getDhcpUsed(entry.second);
    });
}

template <class Backend>
bool NetworkManagerImpl<Backend>::setGateway(const std::string& gateway)
{
    if (!velbase2::system::iphelper::isValidIp(gateway)) {
        return refuse(status::kInvalidIpOrMask);
    }
    const auto current = system_->getGateway();
    log::detail::logLine(log::kDetail, "set request for gateway '", gateway, "'");
    if (current == velbase2::system::iphelper::cleanupIP(gateway)) {
        log::detail::logLine(log::kDetail, "old gateway == new gateway -> nothing to do");
        return refuse(status::kNothingToChange);
    }
    // kept: without a default route `current` is empty, which is not "0.0.0.0". Therefore the request is refused.
    if (dhcpEnabled() && current != "0.0.0.0") {
        log::detail::logLine(log::kDetail, status::kGatewayFromDhcp);
        return refuse(status::kGatewayFromDhcp);
    }
    return doSetGateway(gateway);
}

template <class Backend>
bool NetworkManagerImpl<Backend>::doSetGateway(std::string gateway)
{
    if (gateway == "0.0.0.0") {
        gateway.clear();
    } else if (std::string errorMessage; !system_->checkSettingsGateway(gateway, errorMessage)) {
        return refuse(errorMessage);
    }
    return setGatewayToSystem(gateway);
}

template <class Backend>
bool NetworkManagerImpl<Backend>::setGatewayToSystem(const std::string& gateway)
{
    const auto holder = std::find_if(interfaces_.begin(), interfaces_.end(),
                                     [](const auto& entry) { return entry.second.holdsGateway; });
    if (holder == interfaces_.end()) {
        return false;
    }
    const auto& iface = holder->second;
    system_->deleteGateway(); // may fail, because there may be no gateway
    const auto settings = helper::getIpSettingsWithFirstIpv4(system_->getAddresses(iface.name));
    return writeSettings(iface.name, settings, gateway, iface.intComIf);
}

template <class Backend>
bool NetworkManagerImpl<Backend>::setDnsServer(const std::string& address, unsigned int index)
{
    return DnsConfig(*system_).setDnsServer(address, index);
}

template <class Backend>
bool NetworkManagerImpl<Backend>::setDnsDomain(const std::string& domain)
{
    return DnsConfig(*system_).setDnsDomain(domain);
}

template <class Backend>
bool NetworkManagerImpl<Backend>::setRoutes(const std::string& interfaceName, const std::string& routes)
{
    return Routes(signals_.requestStatus, *system_, interfaces_.at(interfaceName)).set(routes);
}

template <class Backend>
void NetworkManagerImpl<Backend>::injectSystemIF(std::unique_ptr<ISystemIF> replacement,
                                                 std::map<std::string, EthInterface>*& registry)
{
    system_ = std::move(replacement);
    registry = &interfaces_;
}

template <class Backend>
bool NetworkManagerImpl<Backend>::refuse(const std::string& status)
{
    signals_.requestStatus(status);
    return false;
}

extern template class NetworkManagerImpl<
    vel_systemd::configuration::SystemdBackendImpl<vel_systemd::configuration::file::File>>;

} // namespace networkmanager::detail
