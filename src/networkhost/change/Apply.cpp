// SPDX-License-Identifier: MIT
#include "networkhost/change/Apply.h"

#include "networkhost/change/ChangeLock.h"
#include "networkhost/change/Refusal.h"
#include "networkhost/change/Steps.h"

#include <exception>

namespace networkhost {
namespace {

/// Whether the plan's first step failed. The daemons cannot have seen any change then.
bool isFirstStep(const Plan& plan, const Failure& failure)
{
    return failure.subject == (plan.preparations.empty() ? plan.files.front().path : plan.preparations.front().text);
}

/// Puts the old files back after a failed step, and restarts the daemons if they may have seen a change.
void putBack(IDevice& device, const Plan& plan, const std::vector<SavedFile>& saved, Outcome& outcome)
{
    const auto failures = restoreFiles(device.files(), saved, outcome.notes).failures;
    if (failures.empty() && isFirstStep(plan, outcome.failures.front())) {
        return;
    }
    const auto restarts = restartDaemons(device, saved);
    const auto what = failures.empty() ? "the old files are back" : "the old files are not back: " + textOf(failures);
    outcome.notes.push_back(restarts.empty() ? what : what + ", but " + restarts);
}

/// Puts the old files back after an exception, when the memory of the failed steps is free again. Failures are ignored,
/// because the exception goes on to the caller.
void putBackSilently(IDevice& device, const std::vector<SavedFile>& saved)
{
    try {
        std::vector<std::string> notes;
        restoreFiles(device.files(), saved, notes);
        restartDaemons(device, saved);
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): the caller rethrows the first one
    }
}

} // namespace

Outcome apply(IDevice& device, const Plan& plan, const ApplyOptions& options)
{
    if (plan.files.empty()) {
        return outcomeOf(plan);
    }
    if (auto outcome = refusalOf(device, plan, options.force); !outcome.isDone) {
        return outcome;
    }
    const auto turn = lockChanges(device);
    if (!turn.refusal.empty()) {
        return refused(turn.refusal);
    }
    if (const auto conflict = conflictOf(device, plan); !conflict.empty()) {
        return refused(conflict);
    }
    const auto saved = savedFilesOf(device.files(), plan);
    try {
        auto outcome = runSteps(device, plan, true);
        if (!outcome.isDone) {
            putBack(device, plan, saved, outcome);
        }
        return outcome;
    } catch (...) {
        putBackSilently(device, saved);
        throw;
    }
}

} // namespace networkhost
