// SPDX-License-Identifier: MIT
#pragma once

#include "Session.h"

#include <string>
#include <vector>

namespace velnetctl {

/// Reads the device once, without a manager's thread, and prints the host, the resolver and the named interfaces, or
/// all interfaces when there are no names.
void printStatus(Session& session, const std::vector<std::string>& interfaceNames, bool json);

} // namespace velnetctl
