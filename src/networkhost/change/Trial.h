// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "../plan/Outcome.h"
#include "../plan/Plan.h"
#include "../state/Missing.h"

#include <chrono>
#include <functional>
#include <string>
#include <vector>

/// A change that goes back by itself unless it is confirmed: whatever becomes of the terminal, the process or the power
/// supply. Its record lies with the configuration, and a guard in a process of its own rolls back (see Guard.h).
///
/// Safe to call from any thread and process: confirming and rolling back exclude each other.
namespace networkhost {

struct TrialOptions
{
    std::chrono::seconds time{60};                             // to confirm in, once it is live; 1 s to 24 h
    std::chrono::milliseconds wait = std::chrono::seconds(30); // at most, for it to become live; 1 s to 24 h
    bool force = false;             // whatever the plan's concerns, and whatever the neighbours say when it is live
    bool requiresBootGuard = false; // refuse when a reboot is not covered

    /// Told while it waits, at each look and at least once a second: what is lacking, and the time that is left to
    /// wait.
    std::function<void(const Missing& lacking, std::chrono::milliseconds left)> onWaiting;
};

/// Carries out the plan as apply() does, but never in place, and waits until the live state shows it. When it is done,
/// the countdown runs: confirmTrial() keeps the setting, and otherwise the previous files come back. When a step
/// failed, the setting did not become live, its gateway does not answer or its address is taken, they are back already,
/// and the reason says why.
Outcome tryOut(IDevice& device, const Plan& plan, const TrialOptions& options = {});

/// Keeps the settings of the pending trial, for good once it is done. Refused before they were live.
Outcome confirmTrial(IDevice& device);

/// Brings the previous files back, byte for byte with mode and owner, restarts the daemons, and waits until the live
/// state shows them, 10 s at most; the guard goes on then. Texts that somebody else has written meanwhile are kept
/// beside the record. `why` is told to whoever asks.
Outcome rollBack(IDevice& device, const std::string& why);

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

/// Starts a guard for a pending trial that has lost its own: both were killed, and systemd has none.
void wakeGuard(IDevice& device);

} // namespace networkhost
