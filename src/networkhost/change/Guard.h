// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"

#include <functional>
#include <string>

/// The guard of trials: a process that has nothing to do with the one that began the trial.
namespace networkhost {

/// Gets a line for people on each thing that happens.
using Report = std::function<void(const std::string& line)>;

/// Returns when no trial is pending. Rolls one back when its time is over, or when it is of an earlier boot, and
/// finishes a roll-back that somebody has begun. Touches nothing for a record that it cannot read, and stays. Of two
/// guards, the second waits.
void guardTrials(IDevice& device, const Report& report);

/// The same as a program of its own, without other threads. Started by root where the records of trials belong to
/// another user, it splits in two before it reads anything: a child that has become this user does the work, and root
/// only runs the three commands that restart the daemons when the child asks. False when the child failed.
bool runGuard(IDevice& device, const Report& report);

/// Rolls back what was not confirmed before the device was started, for when the daemons have not started yet. False
/// when there is a record that it cannot read, or a file that it cannot put back.
bool restoreAtBoot(IDevice& device, const Report& report);

} // namespace networkhost
