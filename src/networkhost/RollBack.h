// SPDX-License-Identifier: MIT
#pragma once

#include "IDevice.h"
#include "Outcome.h"

#include <string>

namespace networkhost {

struct RollBackOptions
{
    bool breaksLock = false;           // puts the files back without its turn, when the holder has it for too long
    bool onlyWhenDue = false;          // not one whose deadline has moved on meanwhile
    bool restartsDaemons = true;       // at boot they have not started yet
    bool acceptsFailedRestart = false; // ends the trial although a daemon could not be restarted
};

/// Ends the pending trial with the previous files, or finishes what was begun so. When a file cannot be put back, a
/// daemon not be restarted, or somebody who is at work might still write, the trial stays pending, and it can be called
/// again.
Outcome rollBackTrial(IDevice& device, const std::string& why, const RollBackOptions& options);

} // namespace networkhost
