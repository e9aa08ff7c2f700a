// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "../plan/Outcome.h"

#include <chrono>
#include <string>

#pragma GCC visibility push(hidden)

namespace networkhost {

struct RollBackOptions
{
    bool breaksLock = false;      // puts the files back without the lock when its holder keeps it too long
    bool endsWithoutTurn = false; // then also ends the trial, although the holder of the lock may still write
    bool onlyWhenDue = false;     // refuses a trial whose deadline has moved meanwhile
    bool isAtBoot = false;        // the daemons have not started: nothing has to be restarted, and nothing is live
    std::chrono::milliseconds untilLive = std::chrono::seconds(10); // limit of the wait for the live state
};

/// Rolls back the pending trial, or finishes a roll-back that was broken off. It is done when the files are back, the
/// daemons have been restarted, and the previous settings are live again if they were live before the trial. Until then
/// the trial stays pending, and the call can be repeated. A file that cannot be put back does not hold up the others.
Outcome rollBackTrial(IDevice& device, const std::string& why, const RollBackOptions& options);

} // namespace networkhost

#pragma GCC visibility pop
