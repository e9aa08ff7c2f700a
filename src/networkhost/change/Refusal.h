// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "../plan/Outcome.h"
#include "../plan/Plan.h"

#include <string>

#pragma GCC visibility push(hidden)

/// Decides whether a change may begin.
namespace networkhost {

/// Checked before the change lock is taken. Refused when a trial is pending, or when the plan itself is refused or has
/// objections without `force`. Otherwise the outcome is done.
Outcome refusalOf(IDevice& device, const Plan& plan, bool force);

/// Checked with the change lock held. Returns why the plan must not be carried out: a trial is pending, or the files
/// have changed since the plan was made. Empty when it may be carried out.
std::string conflictOf(IDevice& device, const Plan& plan);

} // namespace networkhost

#pragma GCC visibility pop
