// SPDX-License-Identifier: MIT
#pragma once

#include "Session.h"

#include <string>
#include <vector>

namespace velnetctl {

/// Does what the arguments, without the program's name, ask for. The exit code: 0 good, 1 failed, 2 wrong usage.
int run(const std::vector<std::string>& arguments, Session& session);

} // namespace velnetctl
