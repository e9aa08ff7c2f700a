// SPDX-License-Identifier: MIT
#pragma once

#include "../state/Configuration.h"
#include "../state/LiveState.h"

#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

/// What is doubtful about a configuration that the library and the daemons take, in sentences. Thread-safe.
namespace networkhost {

/// What would cut the device off, or never become live: addresses that are no host's, two interfaces in one subnet, a
/// gateway or a route that leads nowhere, a search domain that is none. The live addresses of interfaces with DHCP
/// count. `advice` stands behind a gateway outside the subnet.
std::vector<std::string> objectionsTo(const Configuration& configuration, const LiveState& live,
                                      const std::string& advice = {});

/// Routes from which the live gateway is misread.
std::vector<std::string> misreadRoutes(const Configuration& configuration);

} // namespace networkhost

#pragma GCC visibility pop
