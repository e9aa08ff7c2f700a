// SPDX-License-Identifier: MIT
#pragma once

#include "IDevice.h"

#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// Reads the states from the output of `systemctl show --property=Id,LoadState,UnitFileState,ActiveState`.
std::vector<DaemonState> parseDaemonStates(const std::string& output);

/// Whether files show that the daemon runs and starts again after a reboot. This covers the usual case without starting
/// a process.
bool isPlainlyThere(const std::string& daemon);

} // namespace networkhost

#pragma GCC visibility pop
