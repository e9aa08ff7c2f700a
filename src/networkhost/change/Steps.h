// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "../plan/Outcome.h"
#include "../plan/Plan.h"
#include "SavedFiles.h"

#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

/// The steps of a change: files and commands. The caller holds the change lock.
namespace networkhost {

/// Runs the commands of the plan and writes its files. Stops at the first step that fails. `allowsInPlace`: see
/// apply().
Outcome runSteps(IDevice& device, const Plan& plan, bool allowsInPlace);

/// Makes the daemons read the files again, each that reads one of them. Those that did not, in words; "" when all did.
std::string restartDaemons(IDevice& device, const std::vector<SavedFile>& files);

} // namespace networkhost

#pragma GCC visibility pop
