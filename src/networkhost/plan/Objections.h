// SPDX-License-Identifier: MIT
#pragma once

#include "../state/Configuration.h"
#include "../state/LiveState.h"

#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

/// Objections to a configuration that the library and the daemons would accept, in sentences. Thread-safe.
namespace networkhost {

/// Returns objections to settings that would cut the device off or never become live: an address that no host can have,
/// two interfaces in one subnet, an unreachable gateway or route, or an invalid search domain. The live addresses of
/// interfaces with DHCP count. `advice` is added to the objection to a gateway outside the subnet.
std::vector<std::string> objectionsTo(const Configuration& configuration, const LiveState& live,
                                      const std::string& advice = {});

/// Returns a sentence for each route that libVelNetworkManager would take for the default route.
std::vector<std::string> misreadRoutes(const Configuration& configuration);

} // namespace networkhost

#pragma GCC visibility pop
