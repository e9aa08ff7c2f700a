// SPDX-License-Identifier: MIT
#pragma once

#include "Session.h"

#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace velnetctl {

/// Runs the command of the arguments, which do not contain the program's name. Returns the exit code: 0 for success, 1
/// for a failure, 2 for wrong usage, 3 when no trial is pending.
int run(const std::vector<std::string>& arguments, Session& session);

/// Calls `description` with all commands and options. Does not touch the device.
void describe(Session& session, const std::function<void(const CLI::App&)>& description);

} // namespace velnetctl
