// SPDX-License-Identifier: MIT
#include "networkmanager/DebugLog.h"

#include "base/LogLine.h"

namespace networkmanager::detail {

void debugLog(const std::string& prefix, const velbase2::nsa::common::IpSettings& settings)
{
    namespace log = velbase2::system::log;
    // The gateway's label is "route" on purpose: log readers know it by that name.
    log::detail::logLine(log::kDetail, prefix, ": ip: ", settings.ip, " - mask: ", settings.mask,
                         " - dhcp: ", settings.dhcp, " - route: ", settings.gateway);
}

} // namespace networkmanager::detail
