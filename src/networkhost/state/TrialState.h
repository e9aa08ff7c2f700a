// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"

#include <chrono>
#include <string>
#include <vector>

namespace networkhost {

/// How the pending trial, or else the last one, stands.
struct TrialState
{
    enum class Kind { None, Waiting, Counting, RollingBack, Unreadable, Confirmed, RolledBack };

    Kind kind = Kind::None;
    std::string title;                // "set-ip remote 10.0.0.5/24"
    std::string by;                   // "process 812 (velnetctl)"
    std::chrono::milliseconds left{}; // until it is rolled back
    std::string why;                  // it was rolled back, or cannot be read
    std::vector<std::string> files;   // paths
    bool isOfEarlierBoot = false;     // its time is over
    bool isRestored = false;          // the previous files are back, though not live yet: another change may follow

    /// Until it is over, other changes are refused.
    bool isPending() const;

    /// In a sentence: "a trial is pending: ...".
    std::string text() const;
};

TrialState trialState(IDevice& device);

/// The same, but waits while a roll-back is at work, 30 s at most.
TrialState endOfTrial(IDevice& device);

/// Starts a guard for the pending trial when none is there. False when none came up. A trial that has lost its guard
/// needs it: systemd starts one again where it has the units.
bool wakeGuard(IDevice& device);

} // namespace networkhost
