// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "../plan/Outcome.h"
#include "../plan/Plan.h"

#include <string>

#pragma GCC visibility push(hidden)

/// Whether a change may begin.
namespace networkhost {

/// Why the plan is refused before it takes its turn: a trial is pending, or what the plan itself says. Done when it is
/// not refused.
Outcome refusalOf(IDevice& device, const Plan& plan, bool force);

/// Why the plan must not be carried out although it has its turn: a trial is pending, or its files have changed. Empty
/// when it may.
std::string conflictOf(IDevice& device, const Plan& plan);

} // namespace networkhost

#pragma GCC visibility pop
