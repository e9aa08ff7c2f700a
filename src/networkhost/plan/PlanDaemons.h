// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "Plan.h"

#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

/// The daemons that read a plan's files.
namespace networkhost {

/// The states of the daemons that read the plan's files.
std::vector<DaemonState> daemonsOf(IDevice& device, const Plan& plan);

/// The faults that would keep these daemons from applying the files after a reboot. Also empty when systemd does not
/// answer.
std::vector<std::string> daemonFaults(IDevice& device, const Plan& plan);

} // namespace networkhost

#pragma GCC visibility pop
