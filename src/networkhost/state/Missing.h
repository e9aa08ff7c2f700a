// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "Configuration.h"
#include "LiveState.h"

#include <chrono>
#include <optional>
#include <string>

namespace networkhost {

/// The first wanted setting that is not live, in words: "the address 192.168.50.20 of remote". Empty when all are. The
/// order is: interfaces, addresses, leases, default route, routes, DNS servers, search domains. With `before`, the
/// settings of these interfaces or the resolver until now, it also tells what is still to be removed.
std::string missing(const Configuration& wanted, const LiveState& live,
                    const std::optional<Configuration>& before = std::nullopt);

/// Reads the live state again and again until nothing is missing, or the limit is over. Returns the last answer of
/// missing().
std::string waitUntilLive(IDevice& device, const Configuration& wanted, std::chrono::milliseconds limit,
                          const std::optional<Configuration>& before = std::nullopt);

} // namespace networkhost
