// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "Plan.h"

#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// The lines of the old text that the change drops although the request does not ask for it, for example a hand-written
/// "MTUBytes=1400" or a second address.
std::vector<std::string> droppedLines(const FileChange& file);

/// Fills `before`, `after`, `objections` and `warnings`. These name the faults that the change would bring, and faults
/// of the daemons and cables that the plan needs. For `advice` see objectionsTo(). Waits some milliseconds for answers
/// of neighbours, or about a second for a gateway that does not answer.
void review(IDevice& device, Plan& plan, const std::string& advice = {});

/// Returns the plan after its review. A refused plan is not reviewed. While a trial is pending, a plan with nothing to
/// change is refused, because its settings may be on trial.
Plan reviewed(IDevice& device, Plan plan, const std::string& advice = {});

} // namespace networkhost

#pragma GCC visibility pop
