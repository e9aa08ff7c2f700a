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

/// A trial is a change that goes back by itself unless it is confirmed, even if the terminal, the process or the power
/// is lost:
///
///     const auto trial = networkhost::tryOut(device, networkhost::planIp(device, "remote", settings));
///     if (trial.isDone && userStillReachesTheDevice()) { // within 60 s
///         networkhost::confirmTrial(device);
///     }
///
/// The record of a trial lies with the configuration. A guard, which is another process, rolls back (see Guard.h).
///
/// Safe to call from any thread and process: of a confirmation and a roll-back at the same time, one succeeds.
namespace networkhost {

struct TrialOptions
{
    std::chrono::seconds time{60};                             // for the confirmation; begins when it is live
    std::chrono::milliseconds wait = std::chrono::seconds(30); // for it to become live
    bool force = false;             // in spite of the plan's objections, and of a silent gateway or a taken address
    bool requiresBootGuard = false; // refuse the trial unless a reboot rolls it back

    /// Called on the thread of tryOut() while it waits, at least once a second, with what is lacking and how long it
    /// still waits.
    std::function<void(const std::string& lacking, std::chrono::milliseconds left)> onWaiting;
};

/// Carries out the plan as apply() does, but writes no file in place, and waits until the setting is live. isDone: the
/// countdown runs; confirmTrial() keeps the setting, otherwise the previous files come back. Not done: a step failed,
/// the setting did not become live, its gateway does not answer or its address is taken. Outcome::reason says which,
/// and the previous files are back already. Refused as by apply(), and for times beyond 1 s to 24 h.
Outcome tryOut(IDevice& device, const Plan& plan, const TrialOptions& options = {});

/// Keeps the settings of the pending trial: when isDone, they stay for good. Refused until they have been live.
Outcome confirmTrial(IDevice& device);

} // namespace networkhost
