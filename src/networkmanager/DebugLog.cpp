// SPDX-License-Identifier: MIT
#include "networkmanager/DebugLog.h"

#include "base/LogLine.h"

namespace networkmanager::detail {

void debugLog(const std::string& prefix, const velbase2::nsa::common::IpSettings& settings)
{
    // The gateway's label is "route" on purpose: log readers know it by that name.
    velbase2::system::log::detail::logLine(1, prefix, ": ip: ", settings.ip, " - mask: ", settings.mask,
                                           " - dhcp: ", settings.dhcp, " - route: ", settings.gateway);
}

} // namespace networkmanager::detail
