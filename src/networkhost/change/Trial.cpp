// SPDX-License-Identifier: MIT
#include "networkhost/change/Trial.h"

#include "networkhost/change/CarryOut.h"
#include "networkhost/change/ChangeLock.h"
#include "networkhost/change/Record.h"
#include "networkhost/change/RollBack.h"
#include "networkhost/device/LockHolder.h"
#include "networkhost/plan/DaemonHealth.h"
#include "networkhost/plan/Neighbours.h"
#include "networkhost/state/Missing.h"
#include "networkhost/state/Wait.h"

#include <algorithm>

#include <unistd.h>

namespace networkhost {

using std::chrono::milliseconds;

namespace {

using Sentences = std::vector<std::string>;

std::string secondsText(milliseconds time)
{
    constexpr milliseconds kSecond(1000);
    return std::to_string((std::max(time, milliseconds(0)) + kSecond - milliseconds(1)) / kSecond) + " s";
}

Outcome failed(const std::string& step, const std::error_code& error)
{
    auto outcome = refused("");
    outcome.failures = {{Failure::Step::WriteFile, step, error, {}}};
    outcome.reason = textOf(outcome.failures);
    return outcome;
}

/// Why a trial cannot be made with these times; empty when it can.
std::string faultOfTimes(const TrialOptions& options)
{
    constexpr std::chrono::seconds kShortest(1);
    constexpr std::chrono::hours kLongest(24);
    const auto isGood = [&](auto time) { return time >= kShortest && time <= kLongest; };
    return isGood(options.time) && isGood(options.wait)
               ? ""
               : "the time to confirm in and the time to wait are from 1 s to 24 h (86400 s)";
}

/// Why the guard could not put a file of the plan back; empty when it could.
std::string faultOfWriters(const IFiles& files, const Plan& plan)
{
    Writer guard;
    files.writerOf(kTrial, guard);
    for (const auto& file : plan.files) {
        auto writer = guard;
        files.writerOf(file.path, writer); // an error is told by the write
        if (writer.user != guard.user) {
            return file.path + " does not lie in /etc/systemd/velnet, and only there does the guard of a trial write: "
                               "change it without a trial, or put it there with a link to it";
        }
    }
    return {};
}

/// Puts the record in place, and sees that somebody guards it. Until then the configuration is untouched.
Outcome arm(IDevice& device, const Record& record)
{
    auto& files = device.files();
    auto error = files.remove(kConfirmed);
    error = error ? error : files.remove(kRolledBack);
    error = error ? error : writeRecord(files, kTrial, record);
    Record written;
    error = error ? error : readRecord(files, kTrial, written); // what cannot be read back would not be rolled back
    if (error) {
        files.remove(kTrial); // it may be there, but for its sync
        return failed(kTrial, error);
    }
    if (!device.startGuard()) {
        files.remove(kTrial);
        return refused("no guard came up that would roll the trial back");
    }
    Outcome armed;
    armed.isDone = true;
    return armed;
}

/// The pending trial's deadline, in one step. False when the trial is over.
bool moveDeadline(IDevice& device, Record& record, milliseconds time, bool isLive)
{
    Record present;
    if (readRecord(device.files(), kTrial, present) || present.deadline != record.deadline) {
        return false;
    }
    present.deadline = device.now() + time;
    present.isLive = isLive;
    if (writeRecord(device.files(), kTrial, present)) {
        return false;
    }
    record = present;
    return true;
}

/// Waits for the setting; ends early when somebody confirms or rolls back.
Missing waitForTrial(IDevice& device, const Configuration& wanted, const Configuration& before,
                     const TrialOptions& options)
{
    Missing lacking;
    const auto end = device.now() + options.wait;
    waitUntil(device, options.wait, [&] {
        lacking = missing(wanted, readLiveState(device), before);
        if (!lacking.empty() && options.onWaiting) {
            options.onWaiting(lacking, end - device.now());
        }
        return lacking.empty() || !isThere(device.files(), kTrial);
    });
    return lacking;
}

Outcome rolledBack(IDevice& device, Outcome outcome, const std::string& why)
{
    const auto back = rollBack(device, why);
    outcome.isDone = false;
    outcome.reason = why;
    outcome.notes.push_back(back.isDone ? "the previous settings are back" : back.reason);
    outcome.notes.insert(outcome.notes.end(), back.notes.begin(), back.notes.end());
    return outcome;
}

/// Rolls back a trial that is not to go on, unless somebody else has ended it.
Outcome ended(IDevice& device, Outcome outcome, const std::string& why)
{
    if (isThere(device.files(), kTrial)) {
        return rolledBack(device, outcome, why);
    }
    const auto state = endOfTrial(device);
    outcome.isDone = state.kind == TrialState::Kind::Confirmed;
    outcome.reason = outcome.isDone ? "" : state.text();
    return outcome;
}

Record recordOf(IDevice& device, const Plan& plan, const Configuration& before, milliseconds wait)
{
    Record record;
    record.title = plan.title;
    record.by = thisProcess();
    record.boot = bootMark(device.files());
    record.deadline = device.now() + wait;
    record.wasLive = missing(before, readLiveState(device)).empty();
    record.files = savedFilesOf(device, plan);
    return record;
}

/// The files of a trial that root has ended meanwhile, without its turn. The caller has the turn.
void takeBack(IDevice& device, const Record& record, Outcome& outcome)
{
    if (!isThere(device.files(), kTrial)) {
        restoreFiles(device, record.files, outcome.notes);
        restartDaemons(device, record.files);
    }
}

} // namespace

Outcome tryOut(IDevice& device, const Plan& plan, const TrialOptions& options)
{
    if (!plan.outcome.isDone || plan.files.empty()) {
        return plan.outcome;
    }
    if (const auto fault = faultOfTimes(options); !fault.empty()) {
        return refused(fault);
    }
    const bool isRebootCovered = device.hasBootGuard();
    if (options.requiresBootGuard && !isRebootCovered) {
        return refused(
            "nothing restores an unconfirmed trial at the next boot: velnet-guard-boot.service is not enabled");
    }
    if (const auto faults = options.requiresBootGuard ? daemonFaults(device, plan) : Sentences(); !faults.empty()) {
        return refused(faults.front());
    }
    auto turn = lockChanges(device);
    if (!turn.refusal.empty()) {
        return refused(turn.refusal);
    }
    if (const auto refusal = refusalOf(device, plan, options.force); !refusal.empty()) {
        return refused(refusal);
    }
    if (const auto fault = faultOfWriters(device.files(), plan); !fault.empty()) {
        return refused(fault);
    }
    const auto caller = lockCaller(device); // until this returns: should the process end, the guard need not wait
    if (!caller.refusal.empty()) {
        return refused(caller.refusal);
    }
    const auto before = concernedBy(plan, readConfiguration(device.files()));
    auto record = recordOf(device, plan, before, options.wait);
    if (record.boot.empty()) {
        return refused("the mark of this boot cannot be read: the trial could not be told from one of an earlier boot");
    }
    if (auto armed = arm(device, record); !armed.isDone) {
        return armed;
    }
    auto outcome = carryOut(device, plan, false);
    const bool isRecorded = outcome.isDone && moveDeadline(device, record, options.wait, false);
    if (!isRecorded) {
        takeBack(device, record, outcome);
        turn.lock.reset();
        return ended(device, outcome, outcome.isDone ? "its deadline could not be recorded" : outcome.reason);
    }
    turn.lock.reset();
    if (!isRebootCovered) {
        outcome.notes.emplace_back("a reboot is not covered: velnet-guard-boot.service is not enabled");
    }
    const auto wanted = concernedBy(plan, readConfiguration(device.files()));
    const auto lacking = waitForTrial(device, wanted, before, options);
    if (isBrokenOff()) {
        return refused("it was broken off: the guard rolls it back");
    }
    if (const auto faults = lacking.empty() && !options.force ? unansweredOrTaken(device, plan) : Sentences();
        !faults.empty()) {
        return ended(device, outcome, faults.front() + "; --force keeps it all the same");
    }
    turn = lockChanges(device);
    if (lacking.empty() && turn.refusal.empty() && moveDeadline(device, record, options.time, true)) {
        return outcome;
    }
    turn.lock.reset();
    return ended(device, outcome,
                 lacking.empty() ? "its countdown could not be recorded"
                                 : "after " + secondsText(options.wait) + " the live state still lacked " + lacking);
}

Outcome confirmTrial(IDevice& device)
{
    const auto turn = lockChanges(device);
    if (!turn.refusal.empty()) {
        return refused(turn.refusal);
    }
    Record record;
    if (readRecord(device.files(), kTrial, record)) {
        return refused(trialState(device).text());
    }
    if (!record.isLive) {
        return refused("it has not been live yet, and cannot be confirmed: " + trialState(device).text());
    }
    Outcome outcome;
    if (const auto error = renameRecord(device.files(), kTrial, kConfirmed)) {
        if (!isThere(device.files(), kConfirmed)) {
            return isThere(device.files(), kTrial) ? failed(kConfirmed, error)
                                                   : refused("the trial is over: it is rolled back");
        }
        outcome.notes.push_back("a power cut at this moment would roll it back: " + error.message());
    }
    outcome.isDone = true;
    return outcome;
}

Outcome rollBack(IDevice& device, const std::string& why)
{
    RollBackOptions options;
    Writer writer;
    // Another user than the caller may hold the lock for ever. Root does not wait for that.
    options.breaksLock = !device.files().writerOf(kTrial, writer) && writer.user != ::geteuid();
    options.endsWithoutTurn = options.breaksLock;
    return rollBackTrial(device, why, options);
}

bool TrialState::isPending() const
{
    return kind != Kind::None && kind != Kind::Confirmed && kind != Kind::RolledBack;
}

std::string TrialState::text() const
{
    const auto pending = "a trial is pending: " + title + ", by " + by;
    switch (kind) {
    case Kind::None:
        return "no trial is pending";
    case Kind::Waiting:
        return pending + "; it is not live yet, and is rolled back in " + secondsText(left);
    case Kind::Counting:
        return pending + "; it is rolled back in " + secondsText(left) + " unless it is confirmed (velnetctl confirm)";
    case Kind::RollingBack:
        return "a trial is pending: " + title +
               (isRestored ? " is rolled back, but the previous settings are not live yet" : " is being rolled back");
    case Kind::Unreadable:
        return "a trial is pending, but its record cannot be read: " + why;
    case Kind::Confirmed:
        return "no trial is pending; the last one, " + title + ", was confirmed";
    case Kind::RolledBack:
        return "no trial is pending; the last one, " + title + ", was rolled back: " + why;
    }
    return {};
}

TrialState endOfTrial(IDevice& device)
{
    constexpr milliseconds kLimit(30000);
    TrialState state;
    waitUntil(device, kLimit, [&] {
        state = trialState(device);
        const bool isOver = state.kind != TrialState::Kind::RollingBack;
        if (!isOver) {
            wakeGuard(device);
        }
        return isOver;
    });
    return state;
}

void wakeGuard(IDevice& device)
{
    const auto state = trialState(device);
    if (state.isPending() && state.kind != TrialState::Kind::Unreadable) {
        device.startGuard();
    }
}

TrialState trialState(IDevice& device)
{
    using Kind = TrialState::Kind;
    struct Name
    {
        const char* path;
        Kind kind;
    };
    for (const auto& [path, kind] : {Name{kTrial, Kind::Waiting}, Name{kRollback, Kind::RollingBack},
                                     Name{kConfirmed, Kind::Confirmed}, Name{kRolledBack, Kind::RolledBack}}) {
        Record record;
        const auto error = readRecord(device.files(), path, record);
        if (error == std::errc::no_such_file_or_directory) {
            continue;
        }
        TrialState state;
        state.kind = kind;
        if (error) {
            state.kind = state.isPending() ? Kind::Unreadable : Kind::None;
            state.why = error == std::errc::bad_message
                            ? std::string("it is damaged; nothing is touched; look into ") + kTrialDirectory +
                                  ", and remove trial and rollback there to go on"
                            : Failure{Failure::Step::ReadFile, path, error, {}}.text();
            return state;
        }
        state.kind = kind == Kind::Waiting && record.isLive ? Kind::Counting : kind;
        state.title = record.title;
        state.by = record.by;
        state.isOfEarlierBoot = record.boot != bootMark(device.files());
        state.isRestored = record.isRestored && areBack(device.files(), record.files);
        state.left = state.isOfEarlierBoot ? milliseconds(0) : record.deadline - device.now();
        state.why = record.why;
        std::transform(record.files.begin(), record.files.end(), std::back_inserter(state.files),
                       [](const auto& file) { return file.path; });
        return state;
    }
    return {};
}

} // namespace networkhost
