// SPDX-License-Identifier: MIT
#pragma once

#include "../base/IpSettings.h"
#include "IDevice.h"
#include "Outcome.h"

#include <string>

/// The set operations of a manager, with the reason of a refusal or failure. Each builds a manager of its own, which
/// reads the files, and is through when the daemons are restarted: waitUntilLive() tells when they have the setting.
/// The cells of a manager that runs follow with its next refresh, but for `routes`.
///
/// No exceptions but std::bad_alloc. One call at a time for each device.
namespace networkhost {

/// "nothing to change" only when the settings are configured and live. A static interface that holds the gateway keeps
/// the live one, or without one, as with the cable out, the configured one.
Outcome setIp(IDevice& device, const std::string& interfaceName, const velbase2::nsa::common::IpSettings& settings);

/// "0.0.0.0" removes the gateway. "nothing to change" only when the gateway is configured and live.
Outcome setGateway(IDevice& device, const std::string& gateway);

/// "0.0.0.0" clears the slot.
Outcome setDnsServer(IDevice& device, const std::string& address, unsigned int index);

/// Control characters are refused: they would end the line of the file.
Outcome setDnsDomain(IDevice& device, const std::string& domain);

/// `routes` as for NetworkManagerImpl::setRoutes. Control characters are refused, but for line feeds.
Outcome setRoutes(IDevice& device, const std::string& interfaceName, const std::string& routes);

} // namespace networkhost
