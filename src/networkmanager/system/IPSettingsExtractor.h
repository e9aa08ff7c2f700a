// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/IpAddress.h"
#include "ISocketReader.h"
#include "SocketReader.h"

#include <memory>
#include <string>
#include <vector>

namespace networkmanager {

/// Live settings of an interface, out of the socket reader that it owns and out of the texts it is given. Logs nothing.
/// Thread-safe but for getInterfaceMAC (see SocketReader).
class IPSettingsExtractor
{
public:
    IPSettingsExtractor();
    explicit IPSettingsExtractor(const SocketReaderFactory& factory);

    std::vector<velbase2::nsa::common::structs::IpAddress>
    getInterfaceAddresses(const std::string& interfaceName) const;

    std::string getInterfaceMAC(const std::string& interfaceName) const;

    /// Whether the text of a .network file holds DHCP=yes, DHCP=ipv4 or DHCP=ipv6, wherever it stands.
    bool getInterfaceDHCP(const std::string& fileContent) const;

    /// The gateway of the interface's default route in the text of /proc/net/route; empty when there is none.
    std::string getDefaultGateway(const std::string& interfaceName, std::string routeTable) const;

private:
    std::unique_ptr<ISocketReader> reader_;
};

} // namespace networkmanager
