// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "../plan/Outcome.h"
#include "../plan/Plan.h"
#include "../state/TrialState.h"
#include "RollBack.h"

#include <chrono>
#include <functional>
#include <string>

/// A change that goes back by itself unless it is confirmed: whatever becomes of the terminal, the process or the power
/// supply. Its record lies with the configuration, and a guard in a process of its own rolls back (see Guard.h).
///
/// Safe to call from any thread and process: confirming and rolling back exclude each other.
namespace networkhost {

struct TrialOptions
{
    std::chrono::seconds time{60};                             // to confirm in, once it is live; 1 s to 24 h
    std::chrono::milliseconds wait = std::chrono::seconds(30); // at most, for it to become live; 1 s to 24 h
    bool force = false;             // whatever the plan's objections, and whatever the neighbours say when it is live
    bool requiresBootGuard = false; // refuse when a reboot is not covered

    /// Told while it waits, at each look and at least once a second: what is lacking, and the time that is left to
    /// wait.
    std::function<void(const std::string& lacking, std::chrono::milliseconds left)> onWaiting;
};

/// Carries out the plan as apply() does, but never in place, and waits until the live state shows it. When it is done,
/// the countdown runs: confirmTrial() keeps the setting, and otherwise the previous files come back. When a step
/// failed, the setting did not become live, its gateway does not answer or its address is taken, they are back already,
/// and the reason says why.
Outcome tryOut(IDevice& device, const Plan& plan, const TrialOptions& options = {});

/// Keeps the settings of the pending trial, for good once it is done. Refused before they were live.
Outcome confirmTrial(IDevice& device);

} // namespace networkhost
