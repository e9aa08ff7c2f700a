// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/IpSettings.h"
#include "../device/IDevice.h"
#include "Plan.h"

#include <string>
#include <vector>

/// The set operations of a manager as plans, with the reason of a refusal. Each builds a manager of its own, which
/// reads the files and touches nothing. apply() and tryOut() carry the plan out, and waitUntilLive() tells when the
/// device has the setting. The cells of a manager that runs follow with its next refresh, but for `routes`.
///
/// No exceptions but std::bad_alloc. Thread-safe with a RealDevice.
namespace networkhost {

/// `settings.gateway` is the gateway of a static interface that holds it ("0.0.0.0" for none). When it is empty, the
/// live one is kept, or without one, as with the cable out, the configured one.
/// "nothing to change" only when the settings are configured, live, and not on trial.
Plan planIp(IDevice& device, const std::string& interfaceName, const velbase2::nsa::common::IpSettings& settings);

/// The same, and makes these, in that order, all DNS servers besides those of leases; an empty list removes them.
Plan planIp(IDevice& device, const std::string& interfaceName, const velbase2::nsa::common::IpSettings& settings,
            const std::vector<std::string>& dnsServers);

/// "0.0.0.0" removes the gateway. "nothing to change" only when it is configured, live, and not on trial.
Plan planGateway(IDevice& device, const std::string& gateway);

/// "0.0.0.0" clears the slot.
Plan planDnsServer(IDevice& device, const std::string& address, unsigned int index);

/// Control characters are refused: they would end the line of the file.
Plan planDnsDomain(IDevice& device, const std::string& domain);

/// `routes` as for NetworkManagerImpl::setRoutes. Control characters are refused, but for line feeds.
Plan planRoutes(IDevice& device, const std::string& interfaceName, const std::string& routes);

} // namespace networkhost
