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

/// Does what the arguments, without the program's name, ask for. The exit code: 0 good, 1 failed, 2 wrong usage.
int run(const std::vector<std::string>& arguments, Session& session);

/// Calls it with all commands and options, as --help knows them; nothing is done on the device.
void describe(Session& session, const std::function<void(const CLI::App&)>& description);

} // namespace velnetctl
