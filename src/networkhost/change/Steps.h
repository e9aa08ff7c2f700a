// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "../plan/Outcome.h"
#include "../plan/Plan.h"
#include "SavedFiles.h"

#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

/// Runs the steps of a change. The caller holds the change lock.
namespace networkhost {

/// Runs the commands of the plan and writes its files. Stops at the first step that fails. `allowsInPlace`: see
/// apply().
Outcome runSteps(IDevice& device, const Plan& plan, bool allowsInPlace);

/// Restarts each daemon that reads one of the files. Returns a text that names the daemons that could not be restarted,
/// or an empty one.
std::string restartDaemons(IDevice& device, const std::vector<SavedFile>& files);

} // namespace networkhost

#pragma GCC visibility pop
