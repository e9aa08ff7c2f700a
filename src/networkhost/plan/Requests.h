// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/IpSettings.h"
#include "../device/IDevice.h"
#include "Plan.h"

#include <string>
#include <vector>

/// Each function makes a plan for one setting, and changes nothing:
///
///     const auto plan = networkhost::planIp(device, "remote", {"192.168.50.20", "255.255.255.0", false, ""});
///     if (plan.isRefused()) {
///         std::cerr << plan.refusal << '\n';
///     }
///
/// apply() and tryOut() carry the plan out, and waitUntilLive() waits until the device has the setting. The cells of a
/// running manager follow with its next refresh, except `routes`, which only its own setRoutes() assigns.
///
/// A function reads the files and the live state, and asks the network about new addresses and gateways: it takes up to
/// 1.2 s while a gateway is silent. No exceptions but std::bad_alloc. Thread-safe with a RealDevice.
namespace networkhost {

/// With `settings.dhcp`, the address and the mask are ignored, and a gateway is refused. `settings.gateway` is for the
/// static interface that holds the gateway: "0.0.0.0" removes it. The empty text keeps the live gateway, or the
/// configured one when none is live because the cable is out.
/// "nothing to change" when the settings are configured, live, and not on trial.
Plan planIp(IDevice& device, const std::string& interfaceName, const velbase2::nsa::common::IpSettings& settings);

/// Also replaces the DNS servers by these, in this order; an empty list removes them. Those of leases stay.
Plan planIp(IDevice& device, const std::string& interfaceName, const velbase2::nsa::common::IpSettings& settings,
            const std::vector<std::string>& dnsServers);

/// "0.0.0.0" removes the gateway. "nothing to change" when it is configured, live, and not on trial.
Plan planGateway(IDevice& device, const std::string& gateway);

/// The server of that number: 0 is asked first. "0.0.0.0" removes it. Where /etc/systemd/resolved.conf.d is not
/// writable, the packaged links take the numbers 0 to 7.
Plan planDnsServer(IDevice& device, const std::string& address, unsigned int index);

/// Several domains have blanks between them; the empty text removes them. Control characters are refused: they would
/// end the line of the file.
Plan planDnsDomain(IDevice& device, const std::string& domain);

/// All static routes of the interface: "dst=10.1.0.0/16,gw=192.168.50.2", with a blank before the next one; the empty
/// text removes them. Control characters other than line feeds are refused.
Plan planRoutes(IDevice& device, const std::string& interfaceName, const std::string& routes);

} // namespace networkhost
