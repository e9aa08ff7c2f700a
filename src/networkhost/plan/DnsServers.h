// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "Plan.h"

#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// Adds to the plan what makes these, in that order, all the servers that systemd-resolved asks besides those of
/// leases; nothing when they are already. Returns why that is not possible; empty when it is.
std::string addDnsServers(IDevice& device, const std::vector<std::string>& servers, Plan& plan);

} // namespace networkhost

#pragma GCC visibility pop
