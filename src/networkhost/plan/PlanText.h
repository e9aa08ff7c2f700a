// SPDX-License-Identifier: MIT
#pragma once

#include "Outcome.h"
#include "Plan.h"

#include <string>

/// Plans and outcomes for people and programs:
///
///     const auto plan = networkhost::planIp(device, "remote", settings);
///     std::cout << toText(plan) << toText(networkhost::apply(device, plan));
///
/// Each text ends with a line feed, or is empty. Thread-safe.
namespace networkhost {

/// "refused: ..." for each reason or fault, or "nothing to change"; "refused unless it is forced: ..." for each
/// objection; "warning: ..." for each warning; then stepsText().
std::string toText(const Plan& plan);

/// The unified diff of toDiff(), and "runs: ..." for each command. The diff keeps control characters, for `patch`.
std::string stepsText(const Plan& plan);

/// One JSON object: {"files": [{"path", "before", "after"}], "commands": [...]}. `before` is null for a file that does
/// not exist yet. In one line with an indentation of -1.
std::string toJson(const Plan& plan, int indentation = 2);

/// When it is done or there is nothing to change: the status, and "warning: ..." for each note. Otherwise: the
/// objections or the reason, and then the notes. Without control characters.
std::string toText(const Outcome& outcome);

} // namespace networkhost
