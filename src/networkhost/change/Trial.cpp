// SPDX-License-Identifier: MIT
#include "networkhost/change/Trial.h"

#include "base/Paths.h"
#include "networkhost/change/ChangeLock.h"
#include "networkhost/change/Refusal.h"
#include "networkhost/change/RollBack.h"
#include "networkhost/change/Steps.h"
#include "networkhost/device/LockHolder.h"
#include "networkhost/plan/Neighbours.h"
#include "networkhost/plan/PlanDaemons.h"
#include "networkhost/plan/PlannedFiles.h"
#include "networkhost/state/Missing.h"
#include "networkhost/state/TrialRecord.h"
#include "networkhost/state/TrialState.h"
#include "networkhost/state/Wait.h"
#include "networkhost/text/Words.h"

#include <algorithm>

namespace networkhost {

namespace paths = velbase2::system::paths;
using std::chrono::milliseconds;

namespace {

using Sentences = std::vector<std::string>;

Outcome done()
{
    Outcome outcome;
    outcome.isDone = true;
    return outcome;
}

Outcome failed(const std::string& step, const std::error_code& error)
{
    auto outcome = refused("");
    outcome.failures = {{Failure::Step::WriteFile, step, error, {}}};
    outcome.reason = textOf(outcome.failures);
    return outcome;
}

/// Why a trial cannot have these times. Empty when it can.
std::string faultOfTimes(const TrialOptions& options)
{
    constexpr std::chrono::seconds kShortest(1);
    constexpr std::chrono::hours kLongest(24);
    const auto isGood = [&](auto time) { return time >= kShortest && time <= kLongest; };
    return isGood(options.time) && isGood(options.wait)
               ? ""
               : "the time to confirm in and the time to wait are from 1 s to 24 h (86400 s)";
}

/// Why the guard could not restore a file of the plan. Empty when it could.
std::string faultOfWriters(const IFiles& files, const Plan& plan)
{
    Writer guard;
    files.writerOf(paths::kTrial, guard);
    for (const auto& file : plan.files) {
        auto writer = guard;
        files.writerOf(file.path, writer); // the write reports an error
        if (writer.user != guard.user) {
            return file.path + " does not lie in /etc/systemd/velnet, and only there does the guard of a trial write: "
                               "change it without a trial, or put it there with a link to it";
        }
    }
    return {};
}

/// Writes the record and makes sure that a guard runs. Both come before the first change of the configuration.
Outcome arm(IDevice& device, const TrialRecord& record)
{
    auto& files = device.files();
    auto error = files.remove(paths::kConfirmed);
    error = error ? error : files.remove(paths::kRolledBack);
    error = error ? error : writeRecord(files, paths::kTrial, record);
    TrialRecord written;
    // A roll-back needs a record that can be read.
    error = error ? error : readRecord(files, paths::kTrial, written);
    if (error) {
        files.remove(paths::kTrial); // if only its sync failed, the record exists
        return failed(paths::kTrial, error);
    }
    if (!wakeGuard(device)) {
        files.remove(paths::kTrial);
        return refused("no guard came up that would roll the trial back");
    }
    return done();
}

/// Sets the pending trial's deadline and `isLive` in one step. False when the trial is over or cannot be written.
bool moveDeadline(IDevice& device, TrialRecord& record, milliseconds time, bool isLive)
{
    TrialRecord present;
    if (readRecord(device.files(), paths::kTrial, present) || present.deadline != record.deadline) {
        return false;
    }
    present.deadline = device.now() + time;
    present.isLive = isLive;
    if (writeRecord(device.files(), paths::kTrial, present)) {
        return false;
    }
    record = present;
    return true;
}

/// Waits until the settings are live. Ends early when another process confirms or rolls back the trial.
std::string waitForTrial(IDevice& device, const Configuration& wanted, const Configuration& before,
                         const TrialOptions& options)
{
    std::string lacking;
    const auto end = device.now() + options.wait;
    waitUntil(device, options.wait, [&] {
        lacking = missing(wanted, readLiveState(device), before);
        if (!lacking.empty() && options.onWaiting) {
            options.onWaiting(lacking, end - device.now());
        }
        return lacking.empty() || !isThere(device.files(), paths::kTrial);
    });
    return lacking;
}

Outcome rolledBack(IDevice& device, Outcome outcome, const std::string& why)
{
    const auto back = rollBack(device, why);
    outcome.isDone = false;
    outcome.status.clear();
    outcome.reason = why;
    outcome.notes.push_back(back.isDone ? "the previous settings are back" : back.reason);
    outcome.notes.insert(outcome.notes.end(), back.notes.begin(), back.notes.end());
    return outcome;
}

/// Rolls back a trial that cannot continue, unless another process has ended it.
Outcome ended(IDevice& device, Outcome outcome, const std::string& why)
{
    if (isThere(device.files(), paths::kTrial)) {
        return rolledBack(device, outcome, why);
    }
    const auto state = endOfTrial(device);
    outcome.isDone = state.kind == TrialState::Kind::Confirmed;
    outcome.reason = outcome.isDone ? "" : state.text();
    return outcome;
}

TrialRecord recordOf(IDevice& device, const Plan& plan, milliseconds wait)
{
    TrialRecord record;
    record.title = plan.title;
    record.by = thisProcess();
    record.boot = bootMark(device.files());
    record.deadline = device.now() + wait;
    record.wasLive = missing(touchedNow(device.files(), plan), readLiveState(device)).empty();
    record.files = savedFilesOf(device.files(), plan);
    return record;
}

/// Restores the files if root has ended the trial without the change lock. This process may have written some files
/// after that. The caller holds the lock.
void takeBack(IDevice& device, const TrialRecord& record, Outcome& outcome)
{
    if (!isThere(device.files(), paths::kTrial)) {
        restoreFiles(device.files(), record.files, outcome.notes);
        restartDaemons(device, record.files);
    }
}

Outcome refusalOfTrial(IDevice& device, const Plan& plan, const TrialOptions& options, bool isRebootCovered)
{
    if (auto outcome = refusalOf(device, plan, options.force); !outcome.isDone) {
        return outcome;
    }
    if (const auto fault = faultOfTimes(options); !fault.empty()) {
        return refused(fault);
    }
    if (options.requiresBootGuard && !isRebootCovered) {
        return refused(
            "nothing restores an unconfirmed trial at the next boot: velnet-guard-boot.service is not enabled");
    }
    const auto faults = options.requiresBootGuard ? daemonFaults(device, plan) : Sentences();
    return faults.empty() ? done() : refused(faults.front());
}

/// The locks of a trial. The caller's lock is held until the trial is live or rolled back, and shows the guard that
/// this process still runs.
struct Turns
{
    ChangeLock caller;
    ChangeLock change;
};

/// Takes both locks, records the previous files, and makes sure that a guard runs. Does not touch the configuration.
Outcome recordTrial(IDevice& device, const Plan& plan, const TrialOptions& options, Turns& turns, TrialRecord& record)
{
    turns.change = lockChanges(device);
    if (!turns.change.refusal.empty()) {
        return refused(turns.change.refusal);
    }
    if (const auto conflict = conflictOf(device, plan); !conflict.empty()) {
        return refused(conflict);
    }
    if (const auto fault = faultOfWriters(device.files(), plan); !fault.empty()) {
        return refused(fault);
    }
    turns.caller = lockCaller(device);
    if (!turns.caller.refusal.empty()) {
        return refused(turns.caller.refusal);
    }
    record = recordOf(device, plan, options.wait);
    if (record.boot.empty()) {
        return refused("the mark of this boot cannot be read: the trial could not be told from one of an earlier boot");
    }
    return arm(device, record);
}

/// Records the trial and runs its steps. Then it releases the change lock. Other changes no longer have to wait, but
/// are refused while the trial is pending.
Outcome begin(IDevice& device, const Plan& plan, const TrialOptions& options, Turns& turns, TrialRecord& record)
{
    if (auto outcome = recordTrial(device, plan, options, turns, record); !outcome.isDone) {
        return outcome;
    }
    auto outcome = runSteps(device, plan, false);
    const bool isRecorded = outcome.isDone && moveDeadline(device, record, options.wait, false);
    if (!isRecorded) {
        takeBack(device, record, outcome);
    }
    turns.change.lock.reset();
    return isRecorded ? outcome
                      : ended(device, outcome, outcome.isDone ? "its deadline could not be recorded" : outcome.reason);
}

/// Waits until the settings are live, checks the neighbours, and starts the countdown. If that fails, it ends the
/// trial.
Outcome awaitLive(IDevice& device, const Plan& plan, const TrialOptions& options, TrialRecord& record, Outcome outcome)
{
    const auto wanted = touchedNow(device.files(), plan);
    const auto lacking = waitForTrial(device, wanted, plan.before, options);
    if (isBrokenOff()) {
        return refused("it was broken off: the guard rolls it back");
    }
    const auto faults = lacking.empty() && !options.force ? unansweredOrTaken(device, wanted) : Sentences();
    if (!faults.empty()) {
        return ended(device, outcome, faults.front() + "; --force keeps it all the same");
    }
    auto turn = lockChanges(device);
    if (lacking.empty() && turn.refusal.empty() && moveDeadline(device, record, options.time, true)) {
        return outcome;
    }
    turn.lock.reset();
    return ended(device, outcome,
                 lacking.empty() ? "its countdown could not be recorded"
                                 : "after " + secondsText(options.wait) + " the live state still lacked " + lacking);
}

} // namespace

Outcome tryOut(IDevice& device, const Plan& plan, const TrialOptions& options)
{
    if (plan.files.empty()) {
        return outcomeOf(plan);
    }
    const bool isRebootCovered = device.hasBootGuard();
    if (auto outcome = refusalOfTrial(device, plan, options, isRebootCovered); !outcome.isDone) {
        return outcome;
    }
    Turns turns;
    TrialRecord record;
    auto outcome = begin(device, plan, options, turns, record);
    if (!outcome.isDone) {
        return outcome;
    }
    if (!isRebootCovered) {
        outcome.notes.emplace_back("a reboot is not covered: velnet-guard-boot.service is not enabled");
    }
    return awaitLive(device, plan, options, record, std::move(outcome));
}

Outcome confirmTrial(IDevice& device)
{
    const auto turn = lockChanges(device);
    if (!turn.refusal.empty()) {
        return refused(turn.refusal);
    }
    TrialRecord record;
    if (readRecord(device.files(), paths::kTrial, record)) {
        return refused(trialState(device).text());
    }
    if (!record.isLive) {
        return refused("it has not been live yet, and cannot be confirmed: " + trialState(device).text());
    }
    Outcome outcome;
    if (const auto error = renameRecord(device.files(), paths::kTrial, paths::kConfirmed)) {
        if (!isThere(device.files(), paths::kConfirmed)) {
            return isThere(device.files(), paths::kTrial) ? failed(paths::kConfirmed, error)
                                                          : refused("the trial is over: it is rolled back");
        }
        outcome.notes.push_back("a power cut at this moment would roll it back: " + error.message());
    }
    outcome.isDone = true;
    return outcome;
}

} // namespace networkhost
