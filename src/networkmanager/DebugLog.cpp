// SPDX-License-Identifier: MIT
#include "networkmanager/DebugLog.h"

#include "base/LogLine.h"

namespace networkmanager::detail {

void debugLog(const std::string& prefix, const velbase2::nsa::common::IpSettings& settings)
{
    namespace log = velbase2::system::log;
    // kept: the gateway's label is "route", the name by which programs that read the log find it.
    log::detail::logLine(log::kDetail, prefix, ": ip: ", settings.ip, " - mask: ", settings.mask,
                         " - dhcp: ", settings.dhcp, " - route: ", settings.gateway);
}

} // namespace networkmanager::detail
