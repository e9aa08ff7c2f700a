// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "Plan.h"

#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// The lines of the old text that the new one drops though nobody asked for it, as a hand-written "MTUBytes=1400" or a
/// second address.
std::vector<std::string> droppedLines(const FileChange& file);

/// Fills `before`, `after`, `objections` and `warnings`: what is sound already and would not be afterwards, and the
/// daemons and cables that the plan needs. `advice` is for a gateway outside the subnet. Waits for neighbours: some
/// milliseconds, or a second for a gateway that does not answer.
void review(IDevice& device, Plan& plan, const std::string& advice = {});

/// The plan after its review, which a refused one does not need. While a trial is pending, one that finds nothing to
/// change is refused: the settings may be on trial.
Plan reviewed(IDevice& device, Plan plan, const std::string& advice = {});

} // namespace networkhost

#pragma GCC visibility pop
