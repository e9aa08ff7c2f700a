// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/IpAddress.h"
#include "ISocketReader.h"
#include "SocketReader.h"

#include <memory>
#include <string>
#include <vector>

namespace networkmanager {

/// Gets the live settings of an interface from its socket reader and from the texts that it is given. Logs nothing.
/// Thread-safe, except for getInterfaceMAC (see SocketReader).
class IPSettingsExtractor
{
public:
    IPSettingsExtractor();
    explicit IPSettingsExtractor(const SocketReaderFactory& factory);

    std::vector<velbase2::nsa::common::structs::IpAddress>
    getInterfaceAddresses(const std::string& interfaceName) const;

    std::string getInterfaceMAC(const std::string& interfaceName) const;

    /// Whether DHCP=yes, DHCP=ipv4 or DHCP=ipv6 occurs anywhere in the text of a .network file.
    bool getInterfaceDHCP(const std::string& fileContent) const;

    /// The gateway of the interface's default route in the text of /proc/net/route. Empty when there is none.
    std::string getDefaultGateway(const std::string& interfaceName, std::string routeTable) const;

private:
    std::unique_ptr<ISocketReader> reader_;
};

} // namespace networkmanager
