// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "../plan/Outcome.h"
#include "../plan/Plan.h"

namespace networkhost {

struct ApplyOptions
{
    bool force = false; // whatever the plan's objections
};

/// Carries out the plan as it stands: its files, each whole or old, and its commands. When a step fails, the old files
/// are put back, the daemons restarted with them, and the outcome says which step it was.
///
/// Refused, with nothing touched, while a trial is pending, while another change is at work for longer than 10 s, when
/// a file is no longer as the plan saw it, and for the plan's objections. A file whose directory cannot be written is
/// written in place, which a note says.
Outcome apply(IDevice& device, const Plan& plan, const ApplyOptions& options = {});

} // namespace networkhost
