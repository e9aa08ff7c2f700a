// SPDX-License-Identifier: MIT
#pragma once

#include "Log.h"

#include <locale>
#include <sstream>

namespace velbase2::system::log::detail {

inline constexpr std::string_view kTag = "libVelNetworkManager";

/// Logs the concatenated parts as one line of the library. Builds nothing while the level is disabled.
template <class... Parts>
void logLine(int level, const Parts&... parts)
{
    if (!isEnabled(level)) {
        return;
    }
    std::ostringstream line;
    line.imbue(std::locale::classic()); // the host's global locale might group digits
    (line << ... << parts);
    log(level, kTag, line.str());
}

} // namespace velbase2::system::log::detail
