// SPDX-License-Identifier: MIT
#pragma once

#include "EthInterface.h"

#include <map>
#include <string>

namespace networkmanager {

/// Builds the registry of managed interfaces.
class EthernetInterfaces
{
public:
    /// Registers the built-in interfaces.
    EthernetInterfaces();
    virtual ~EthernetInterfaces() = default;

    /// Registers an interface with empty cells. An interface that is already registered stays unchanged.
    /// A second interface that holds the gateway throws std::invalid_argument and is not registered.
    void addInterface(const std::string& name, const std::string& networkFile, bool dhcpSupported, bool holdsGateway,
                      bool intComIf);

    bool gatewayAssigned = false; // a registered interface holds the gateway
    std::map<std::string, EthInterface> interfaces;
};

} // namespace networkmanager
