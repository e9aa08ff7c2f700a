// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"

#include <string>
#include <vector>

/// Whether systemd-networkd and systemd-resolved are there to apply the settings, in sentences with what to do.
/// Thread-safe.
namespace networkhost {

/// Why the daemon will not be there after a reboot: masked, not enabled, not installed. Empty when it will.
std::string bootFaultOf(const DaemonState& daemon);

/// Why it is not there now: failed, not running. Empty when it runs, and when it is masked or not installed.
std::string presentFaultOf(const DaemonState& daemon);

/// Both, where there are any.
std::vector<std::string> faultsOf(const DaemonState& daemon);

} // namespace networkhost
