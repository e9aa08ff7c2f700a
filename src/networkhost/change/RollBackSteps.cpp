// SPDX-License-Identifier: MIT
#include "networkhost/change/RollBackSteps.h"

#include "base/Paths.h"
#include "networkhost/change/ChangeLock.h"
#include "networkhost/change/Steps.h"
#include "networkhost/plan/PlannedFiles.h"
#include "networkhost/state/LiveState.h"
#include "networkhost/state/Missing.h"
#include "networkhost/state/TrialRecord.h"
#include "networkhost/state/TrialState.h"
#include "networkhost/state/Wait.h"

#include <algorithm>

namespace networkhost {

namespace paths = velbase2::system::paths;

namespace {

/// The path of a kept copy beside the record, for example ".../overwritten-network-02_remote.network.d-50-routes.conf".
std::string keptPath(const std::string& path)
{
    constexpr std::string_view kCommon = "/etc/systemd/";
    auto name = path.substr(kCommon.size());
    std::replace(name.begin(), name.end(), '/', '-');
    return paths::kTrialDirectory + ("/overwritten-" + name);
}

/// Keeps a copy of a text that was written without this library since the trial began.
void keepForeignText(IFiles& files, const SavedFile& saved, std::vector<std::string>& notes)
{
    std::string text;
    if (files.read(saved.path, text) || saved.text == text || saved.changedTo == checksumOf(text)) {
        return;
    }
    const auto path = keptPath(saved.path);
    Rights rights;
    auto error = rightsForRecords(files, rights);
    error = error ? error : files.replace(path, text, &rights);
    notes.push_back("what somebody had written to " + saved.path + " since is " +
                    (error ? "lost: " + error.message() : "kept in " + path));
}

/// Drops the files that would be written with the rights of another user than the record. The writer of a record must
/// not decide about them.
void dropFilesOfOthers(const IFiles& files, TrialRecord& record, std::vector<std::string>& notes)
{
    Writer own;
    files.writerOf(paths::kRollback, own);
    const auto isOfOthers = [&](const SavedFile& file) {
        auto writer = own;
        files.writerOf(file.path, writer); // the roll-back of the file reports an error
        if (writer.user != own.user) {
            notes.push_back(file.path + " is root's and stays as it is: it does not lie with the record of the trial");
        }
        return writer.user != own.user;
    };
    record.files.erase(std::remove_if(record.files.begin(), record.files.end(), isOfOthers), record.files.end());
}

/// Whether the trial is over: its process ended before it was live, its deadline has passed, or the device was started.
bool isDue(IDevice& device, const TrialRecord& record)
{
    const bool isLeftAlone = !record.isLive && !hasCaller(device.files());
    return isLeftAlone || record.deadline <= device.now() || record.boot != bootMark(device.files());
}

/// Takes the record of the pending trial, which from then on is rolled back. The rename decides between two callers, or
/// between a roll-back and a confirmation. Returns EAGAIN when the trial is not due.
std::error_code claim(IDevice& device, const std::string& why, bool onlyWhenDue, TrialRecord& record)
{
    auto& files = device.files();
    if (const auto error = readRecord(files, paths::kTrial, record); error != std::errc::no_such_file_or_directory) {
        if (!error && onlyWhenDue && !isDue(device, record)) {
            return std::make_error_code(std::errc::resource_unavailable_try_again);
        }
        const auto unclaimed = error ? error : renameRecord(files, paths::kTrial, paths::kRollback);
        if (unclaimed && unclaimed != std::errc::no_such_file_or_directory) {
            return unclaimed;
        }
    }
    const auto error = readRecord(files, paths::kRollback, record);
    if (!error && record.why.empty()) {
        record.why = why;
        writeRecord(files, paths::kRollback, record); // a failure only loses the reason
    }
    return error;
}

/// Restarts the daemons if they have not read these files yet. Returns a text that names the daemons that could not be
/// restarted.
std::string restartOnce(IDevice& device, TrialRecord& record)
{
    if (record.isRestored) {
        return {};
    }
    auto failure = restartDaemons(device, record.files);
    record.isRestored = failure.empty();
    writeRecord(device.files(), paths::kRollback, record); // a failure only causes a further restart
    return failure;
}

/// Puts the files back. If a file has changed since the daemons were restarted, they have to be restarted again. The
/// record says that before the file is back, because this process may be killed in between.
Restored putBack(IDevice& device, TrialRecord& record, std::vector<std::string>& notes)
{
    auto& files = device.files();
    const bool isOnceMore = record.isRestored && !areBack(files, record.files);
    if (isOnceMore) {
        record.isRestored = false;
        writeRecord(files, paths::kRollback, record);
    }
    auto restored = restoreFiles(files, record.files, notes);
    if (isOnceMore && !restored.isChanged) { // no file came back: no restart is needed
        record.isRestored = true;
        writeRecord(files, paths::kRollback, record);
    }
    return restored;
}

/// Whether the record on the disk still belongs to this trial.
bool isPresent(const IFiles& files, const TrialRecord& record)
{
    TrialRecord present;
    return !readRecord(files, paths::kRollback, present) && present.by == record.by &&
           present.deadline == record.deadline;
}

/// Names what the live state lacks of the previous settings. Empty when these were not live before the trial either.
std::string lackingOf(IDevice& device, const TrialRecord& record)
{
    if (!record.wasLive) {
        return {};
    }
    Plan plan;
    for (const auto& file : record.files) {
        plan.files.push_back({file.path, {}, file.text});
    }
    auto wanted = touchedNow(device.files(), plan);
    const auto live = readLiveState(device);
    for (const auto& [name, iface] : live.interfaces) {
        if (!iface.hasLink) {
            wanted.interfaces.erase(name); // without a cable nothing becomes live; networkd acts when it is back
        }
    }
    return missing(wanted, live);
}

} // namespace

Outcome rollBackTrial(IDevice& device, const std::string& why, const RollBackOptions& options)
{
    auto& files = device.files();
    auto turn = lockChanges(device);
    const bool hasTurn = turn.refusal.empty();
    if (!hasTurn && !options.breaksLock) {
        return refused(turn.refusal);
    }
    TrialRecord record;
    if (const auto error = claim(device, why, options.onlyWhenDue, record)) {
        const auto state = trialState(device);
        const bool isKnown = error == std::errc::no_such_file_or_directory ||
                             error == std::errc::resource_unavailable_try_again ||
                             state.kind == TrialState::Kind::Unreadable;
        return refused(isKnown ? state.text() : Failure{Failure::Step::WriteFile, paths::kRollback, error, {}}.text());
    }
    Outcome outcome;
    dropFilesOfOthers(files, record, outcome.notes);
    for (const auto& file : record.files) {
        keepForeignText(files, file, outcome.notes);
    }
    outcome.failures = putBack(device, record, outcome.notes).failures;
    const auto unrestarted = options.isAtBoot ? std::string() : restartOnce(device, record);
    if (!outcome.failures.empty()) {
        outcome.reason = textOf(outcome.failures);
        return outcome;
    }
    const std::string back = "the previous files are back, but ";
    if (!unrestarted.empty()) {
        outcome.reason = back + unrestarted;
        return outcome;
    }
    if (!hasTurn && !options.endsWithoutTurn) {
        outcome.reason = back + turn.refusal;
        return outcome;
    }
    if (!hasTurn) {
        outcome.notes.push_back(turn.refusal + "; it may still write");
    }
    const bool wereBack = areBack(files, record.files);
    turn.lock.reset(); // another change may follow
    std::string lacking;
    if (!options.isAtBoot) {
        waitUntil(device, options.untilLive, [&] {
            lacking = lackingOf(device, record);
            return lacking.empty() || !isThere(files, paths::kRollback);
        });
        turn = lockChanges(device);
    }
    if (!isPresent(files, record)) {
        outcome.isDone = true; // another change or trial has followed, or another process has ended the roll-back
        return outcome;
    }
    if (wereBack && !areBack(files, record.files)) {
        outcome.reason = "the previous files were back, and somebody has written to them since";
        return outcome;
    }
    if (!lacking.empty()) {
        outcome.reason = "the previous files are back, and the daemons have them, but the live state lacks " + lacking;
        return outcome;
    }
    const auto error = endRecord(files, record);
    outcome.isDone = !error;
    outcome.reason = error ? paths::kRollback + (": " + error.message()) : "";
    return outcome;
}

} // namespace networkhost
