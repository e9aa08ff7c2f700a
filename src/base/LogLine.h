// SPDX-License-Identifier: MIT
#pragma once

#include "Log.h"

#include <string>
#include <type_traits>

namespace velbase2::system::log::detail {

inline constexpr std::string_view kTag = "libVelNetworkManager";

/// Appends a text, or a number in decimal digits. The host's locale has no effect.
template <class Part>
void append(std::string& line, const Part& part)
{
    if constexpr (std::is_arithmetic_v<Part>) {
        line += std::to_string(part);
    } else {
        line += part;
    }
}

/// Logs the concatenated parts as one line of the library. Builds nothing while the level is disabled.
template <class... Parts>
void logLine(int level, const Parts&... parts)
{
    if (!isEnabled(level)) {
        return;
    }
    std::string line;
    (append(line, parts), ...);
    log(level, kTag, line);
}

} // namespace velbase2::system::log::detail
