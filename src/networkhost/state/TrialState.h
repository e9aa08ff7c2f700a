// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"

#include <chrono>
#include <string>
#include <vector>

namespace networkhost {

/// The state of the pending trial, or else of the last one.
struct TrialState
{
    enum class Kind { None, Waiting, Counting, RollingBack, Unreadable, Confirmed, RolledBack };

    Kind kind = Kind::None;
    std::string title;                // "set-ip remote 10.0.0.5/24"
    std::string by;                   // "process 812 (velnetctl)"
    std::chrono::milliseconds left{}; // until it is rolled back
    std::string why;                  // why it was rolled back, or cannot be read
    std::vector<std::string> files;   // paths
    bool isOfEarlierBoot = false;     // its time is over
    bool isRestored = false;          // the previous files are back, but not live yet: another change may follow

    /// While it is, other changes are refused.
    bool isPending() const;

    /// In a sentence: "a trial is pending: ...".
    std::string text() const;
};

/// The kind for programs, such as "counting".
const char* nameOf(TrialState::Kind kind);

TrialState trialState(IDevice& device);

/// The same, but first waits until a roll-back has ended, at most 30 s.
TrialState endOfTrial(IDevice& device);

/// Starts a guard for the pending trial when none is running. False when none came up. For a trial that has lost its
/// guard; where the units are installed, systemd does it.
bool wakeGuard(IDevice& device);

} // namespace networkhost
