// SPDX-License-Identifier: MIT
#include "networkhost/change/Refusal.h"

#include "networkhost/device/Failure.h"
#include "networkhost/state/TrialRecord.h"
#include "networkhost/state/TrialState.h"

#include <optional>

namespace networkhost {

Outcome refusalOf(IDevice& device, const Plan& plan, bool force)
{
    if (const auto trial = trialState(device); trial.isPending() && !trial.isRestored) {
        wakeGuard(device);
        return refused(trial.text());
    }
    return outcomeOf(plan, force);
}

std::string conflictOf(IDevice& device, const Plan& plan)
{
    if (const auto trial = trialState(device); trial.isPending() && !closeRestored(device.files())) {
        wakeGuard(device);
        return trial.text();
    }
    for (const auto& file : plan.files) {
        std::string text;
        const auto error = device.files().read(file.path, text);
        const bool isMissing = error == std::errc::no_such_file_or_directory;
        if (error && !isMissing) {
            return Failure{Failure::Step::ReadFile, file.path, error, {}}.text();
        }
        if (file.before != (isMissing ? std::nullopt : std::optional(text))) {
            return file.path + " is no longer as the plan saw it: somebody has changed it since";
        }
    }
    return {};
}

} // namespace networkhost
