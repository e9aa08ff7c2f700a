// SPDX-License-Identifier: MIT
#pragma once

#include "../base/IpSettings.h"
#include "EthInterface.h"
#include "HostSignals.h"
#include "NetworkManagerData.h"

#include <map>
#include <memory>
#include <string>

namespace networkmanager::detail {

/// The library's one entry point: NetworkManager<NetworkManagerData>. For threads and errors see NetworkManagerImpl.
template <class Data>
class NetworkManager
{
public:
    NetworkManager() : data_(std::make_unique<Data>()) {}

    void start() { data_->implementation.start(); }
    void stop() { data_->implementation.stop(); }

    bool setDnsServer(const std::string& address, unsigned int index)
    {
        return data_->implementation.setDnsServer(address, index);
    }
    bool setDnsDomain(const std::string& domain) { return data_->implementation.setDnsDomain(domain); }
    bool setIp(const std::string& interfaceName, const velbase2::nsa::common::IpSettings& settings)
    {
        return data_->implementation.setIp(interfaceName, settings);
    }
    bool setGateway(const std::string& gateway) { return data_->implementation.setGateway(gateway); }
    bool setRoutes(const std::string& interfaceName, const std::string& routes)
    {
        return data_->implementation.setRoutes(interfaceName, routes);
    }

    std::map<std::string, EthInterface>& getInterfaces() { return data_->implementation.getInterfaces(); }
    const EthInterface& getInterface(const std::string& interfaceName) const
    {
        return data_->implementation.getInterface(interfaceName);
    }
    HostSignals& getSignals() { return data_->implementation.getSignals(); }

private:
    std::unique_ptr<Data> data_;
};

extern template class NetworkManager<NetworkManagerData>;

} // namespace networkmanager::detail
