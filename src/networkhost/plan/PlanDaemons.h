// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "Plan.h"

#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

/// The daemons that have to read a plan's files.
namespace networkhost {

/// Those of the daemons that read the plan's files.
std::vector<DaemonState> daemonsOf(IDevice& device, const Plan& plan);

/// What would keep them from applying the plan's files after a reboot. Empty also when systemd cannot be asked.
std::vector<std::string> daemonFaults(IDevice& device, const Plan& plan);

} // namespace networkhost

#pragma GCC visibility pop
