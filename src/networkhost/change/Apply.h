// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "../plan/Outcome.h"
#include "../plan/Plan.h"

namespace networkhost {

struct ApplyOptions
{
    bool force = false; // carry it out in spite of the plan's objections
};

/// Carries out the plan: writes its files and runs its commands.
///
///     const auto plan = networkhost::planGateway(device, "192.168.50.1");
///     const auto outcome = networkhost::apply(device, plan);
///     if (outcome.isDone) {
///         const auto lacking = waitUntilLive(device, plan, std::chrono::seconds(20)); // empty: it is live
///     }
///
/// At any moment, each file has its old text or its new one, never a part. When a step fails, the old files come back,
/// the daemons restart with them, and the outcome names the step. Only a file whose directory cannot be written is
/// written in place: Outcome::notes says so.
///
/// Refused, with nothing touched: while a trial is pending; when another change takes longer than 10 s; when a file is
/// no longer as the plan saw it; for the plan's objections. Safe to call from any thread and process. No exceptions but
/// std::bad_alloc, after which the old files are back.
Outcome apply(IDevice& device, const Plan& plan, const ApplyOptions& options = {});

} // namespace networkhost
