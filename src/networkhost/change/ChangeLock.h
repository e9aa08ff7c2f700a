// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "../plan/Outcome.h"
#include "../plan/Plan.h"

#include <chrono>
#include <memory>
#include <string>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// Held while the configuration is changed through this library: changes take turns, in other processes, too.
struct ChangeLock
{
    std::unique_ptr<IFiles::Lock> lock;
    std::string refusal; // why it was not to be had, in a sentence; otherwise empty
};

/// Waits for its turn. Without the lock, nothing may be changed.
ChangeLock lockChanges(IDevice& device, std::chrono::milliseconds limit = std::chrono::seconds(10));

/// The same for the lock of whoever begins a trial.
ChangeLock lockCaller(IDevice& device);

/// Why the plan is refused before it takes its turn: a trial is pending, or what the plan itself says. Done when it is
/// not refused.
Outcome refusalOf(IDevice& device, const Plan& plan, bool force);

/// Why the plan must not be carried out now, although it has its turn; empty when it may.
std::string conflictOf(IDevice& device, const Plan& plan);

} // namespace networkhost

#pragma GCC visibility pop
