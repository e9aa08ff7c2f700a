// SPDX-License-Identifier: MIT
#include "networkmanager/EthernetInterfaces.h"

#include "networkmanager/BuiltInInterfaces.h"

#include <stdexcept>

namespace networkmanager {

EthernetInterfaces::EthernetInterfaces()
{
    for (const auto& entry : kBuiltInInterfaces) {
        addInterface(entry.name, entry.networkFile, entry.dhcpSupported, entry.holdsGateway, entry.intComIf);
    }
}

void EthernetInterfaces::addInterface(const std::string& name, const std::string& networkFile, bool dhcpSupported,
                                      bool holdsGateway, bool intComIf)
{
    if (holdsGateway && gatewayAssigned) {
        throw std::invalid_argument("Only one interface can hold the gateway!");
    }
    gatewayAssigned = gatewayAssigned || holdsGateway;

    const auto [entry, isNew] = interfaces.try_emplace(name);
    if (isNew) {
        static_cast<EthParams&>(entry->second) = {name, networkFile, dhcpSupported, holdsGateway, intComIf};
    }
}

} // namespace networkmanager
