// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"

#include <functional>
#include <string>

/// The guard of trials: a process that has nothing to do with the one that began the trial.
namespace networkhost {

/// Gets a line for people about each event.
using Report = std::function<void(const std::string& line)>;

/// Guards trials, and returns when none is pending. Rolls a trial back when its time is over or when it is of an
/// earlier boot, and finishes a roll-back that somebody has begun. When it cannot read the record, it touches nothing
/// and goes on. Of two guards, the second waits.
void guardTrials(IDevice& device, const Report& report);

/// The same, for a program that only guards and has no other threads. When root starts it and the records of trials
/// belong to another user, it splits in two before it reads anything: a child with that user's rights does the work,
/// and root only runs the three commands that restart the daemons. False when the child failed.
bool runGuard(IDevice& device, const Report& report);

/// Rolls back a trial that was not confirmed before this boot. Call it before the daemons start: it does not restart
/// them. False when it cannot read a record, or cannot put a file back.
bool restoreAtBoot(IDevice& device, const Report& report);

} // namespace networkhost
