// SPDX-License-Identifier: MIT
#pragma once

#include "Session.h"
#include "networkhost/plan/Plan.h"

namespace velnetctl {

/// As a unified diff with a line for each command, or as {"files": [{"path", "before", "after"}], "commands": [...]}.
void printPlan(Session& session, const networkhost::Plan& plan, bool json);

} // namespace velnetctl
