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
    bool breaksLock = false;      // puts the files back without its turn, when the holder has it for too long
    bool endsWithoutTurn = false; // and ends the trial, although the holder may still write
    bool onlyWhenDue = false;     // not one whose deadline has moved on meanwhile
    bool isAtBoot = false;        // the daemons have not started yet: there is nothing to restart, and nothing is live
    std::chrono::milliseconds untilLive = std::chrono::seconds(10); // at most, to wait for the live state
};

/// Ends the pending trial with the previous files, or finishes one that was broken off: the files are back, the daemons
/// have been restarted with them, and the live state shows them, unless it did not before the trial either. Until then
/// the trial stays pending, and this can be called again. A file that cannot be put back holds up none of the others.
Outcome rollBackTrial(IDevice& device, const std::string& why, const RollBackOptions& options);

} // namespace networkhost

#pragma GCC visibility pop
