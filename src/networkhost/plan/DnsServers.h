// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "Plan.h"

#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// Adds the changes to the plan after which systemd-resolved asks exactly these servers, in this order, and those of
/// leases. Adds nothing when that is already the case. Returns why it is not possible, or an empty text.
std::string addDnsServers(IDevice& device, const std::vector<std::string>& servers, Plan& plan);

} // namespace networkhost

#pragma GCC visibility pop
