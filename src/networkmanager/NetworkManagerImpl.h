// SPDX-License-Identifier: MIT
#pragma once

#include "base/IpSettings.h"
#include "base/LogLine.h"
#include "base/ThisThread.h"
#include "networkmanager/EthInterface.h"
#include "networkmanager/EthernetInterfaces.h"
#include "networkmanager/HostSignals.h"
#include "networkmanager/Refresher.h"
#include "networkmanager/system/ISystemIF.h"
#include "systemd/configuration/SystemdBackend.h"

#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace networkmanager::detail {

/// The manager behind the facade: registry, host values, refresh thread, and set operations.
///
/// The host's thread calls every operation; the refresh thread assigns the cells every 2 seconds and runs their slots.
/// stop() and the destructor must not be called from a slot of the refresh thread.
template <class Backend>
class NetworkManagerImpl
{
public:
    /// Loads the configuration of every interface through `backend`, which outlives the manager. Exceptions of the
    /// backend pass to the caller.
    explicit NetworkManagerImpl(const Backend& backend, std::unique_ptr<ISystemIF> system = SystemIF_Factory())
        : backend_(backend), system_(std::move(system)), interfaces_(EthernetInterfaces().interfaces),
          refresher_(std::make_unique<Refresher>(signals_, interfaces_, *system_))
    {
        for (auto& entry : interfaces_) {
            backend_.load(entry.second);
        }
    }

    NetworkManagerImpl(const NetworkManagerImpl&) = delete;
    NetworkManagerImpl& operator=(const NetworkManagerImpl&) = delete;
    ~NetworkManagerImpl() { stop(); }

    /// Starts the refresh thread; does nothing while it runs, and nothing after stop().
    /// Throws std::system_error when there is no thread to be had.
    void start()
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

    /// Ends the refresh thread, which takes up to 2 seconds, and the refreshing for good.
    void stop()
    {
        velbase2::system::log::detail::logLine(1, "stop network manager");
        if (!running_) {
            return;
        }
        running_ = false;
        if (thread_.joinable()) {
            thread_.join();
        }
        refresher_.reset();
    }

    // Not there yet: these refuse every request.
    bool setDnsServer(const std::string& /*address*/, unsigned int /*index*/) { return refuse("setDnsServer"); }
    bool setDnsDomain(const std::string& /*domain*/) { return refuse("setDnsDomain"); }
    bool setIp(const std::string& /*interfaceName*/, const velbase2::nsa::common::IpSettings& /*settings*/)
    {
        return refuse("setIp");
    }
    bool setGateway(const std::string& /*gateway*/) { return refuse("setGateway"); }
    bool setRoutes(const std::string& interfaceName, const std::string& /*routes*/)
    {
        interfaces_.at(interfaceName);
        return refuse("setRoutes");
    }

    /// The registry itself; its entries never change, so it needs no lock. Connect to the cells through it.
    std::map<std::string, EthInterface>& getInterfaces() { return interfaces_; }

    /// Throws std::out_of_range for an unknown name.
    const EthInterface& getInterface(const std::string& interfaceName) const { return interfaces_.at(interfaceName); }

    HostSignals& getSignals() { return signals_; }

    /// Installs `replacement`, and tells where the registry is. Only before start(), and only where no refresh will
    /// run: the refresher keeps the system interface it was built with.
    void injectSystemIF(std::unique_ptr<ISystemIF> replacement, std::map<std::string, EthInterface>*& registry)
    {
        system_ = std::move(replacement);
        registry = &interfaces_;
    }

private:
    static bool refuse(const char* operation)
    {
        velbase2::system::log::detail::logLine(3, operation, " is not supported yet");
        return false;
    }

    static void mainLoop(const std::atomic<bool>& running, Refresher& refresher)
    {
        velbase2::system::log::detail::logLine(1, "start main loop");
        do {
            refresher.refresh();
            velbase2::system::this_thread::sleep_for(std::chrono::seconds(2));
        } while (running);
        velbase2::system::log::detail::logLine(1, "exit main loop");
    }

    const Backend& backend_;
    HostSignals signals_;
    std::unique_ptr<ISystemIF> system_;
    std::map<std::string, EthInterface> interfaces_;
    std::thread thread_;
    std::unique_ptr<Refresher> refresher_;
    std::atomic<bool> running_ = false;
    std::mutex requestLock_;
};

extern template class NetworkManagerImpl<
    vel_systemd::configuration::SystemdBackendImpl<vel_systemd::configuration::file::File>>;

} // namespace networkmanager::detail
