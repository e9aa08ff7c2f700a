// SPDX-License-Identifier: MIT
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace velnetctl {

/// Reads the device once, without the manager's thread, and prints the host and the named interfaces; all without
/// names.
void printStatus(std::ostream& output, const std::vector<std::string>& interfaceNames, bool json);

} // namespace velnetctl
