// SPDX-License-Identifier: MIT
#pragma once

#include "IDevice.h"

#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// Reads the states from the output of `systemctl show --property=Id,LoadState,UnitFileState,ActiveState`.
std::vector<DaemonState> parseDaemonStates(const std::string& output);

/// Whether the daemon runs and comes back after a reboot, as files show it: the usual case, without a process.
bool isPlainlyThere(const std::string& daemon);

} // namespace networkhost

#pragma GCC visibility pop
