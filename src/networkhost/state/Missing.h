// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "Configuration.h"
#include "LiveState.h"

#include <chrono>
#include <optional>
#include <string>

namespace networkhost {

/// The first thing that `live` lacks of what is configured, in words: "the address 192.168.50.20 of remote". Empty when
/// it lacks nothing. In this order: interfaces, addresses, leases, default route, routes, DNS
/// servers, search domains. Given what was configured `before`, for the same interfaces or resolver, also what has to
/// go.
std::string missing(const Configuration& wanted, const LiveState& live,
                    const std::optional<Configuration>& before = std::nullopt);

/// Reads the live state again and again until it lacks nothing of what is wanted, or the limit is over. The last
/// answer: empty when the daemons and the kernel have everything.
std::string waitUntilLive(IDevice& device, const Configuration& wanted, std::chrono::milliseconds limit,
                          const std::optional<Configuration>& before = std::nullopt);

} // namespace networkhost
