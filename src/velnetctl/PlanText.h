// SPDX-License-Identifier: MIT
#pragma once

#include "Session.h"
#include "networkhost/plan/Plan.h"

namespace velnetctl {

/// Prints the plan as a unified diff with a line for each command, or as the JSON object
/// {"files": [{"path", "before", "after"}], "commands": [...]}.
void printPlan(Session& session, const networkhost::Plan& plan, bool json);

} // namespace velnetctl
