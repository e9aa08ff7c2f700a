// SPDX-License-Identifier: MIT
#include "networkhost/RollBack.h"

#include "networkhost/CarryOut.h"
#include "networkhost/ChangeLock.h"
#include "networkhost/Record.h"
#include "networkhost/Trial.h"

#include <algorithm>

namespace networkhost {
namespace {

/// Beside the record, under a name of its own: "network-02_remote.network.d-50-routes.conf".
std::string keptPath(const std::string& path)
{
    constexpr std::string_view kCommon = "/etc/systemd/";
    auto name = path.substr(kCommon.size());
    std::replace(name.begin(), name.end(), '/', '-');
    return kTrialDirectory + ("/overwritten-" + name);
}

/// What somebody wrote past this library since the trial began.
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

/// The record of what is to be rolled back from here on; of two callers, or of one that confirms, one gets it. EAGAIN
/// when it is not due.
std::error_code claim(IDevice& device, bool onlyWhenDue, Record& record)
{
    auto& files = device.files();
    if (const auto error = readRecord(files, kTrial, record); error != std::errc::no_such_file_or_directory) {
        if (!error && onlyWhenDue && record.deadline > device.now() && record.boot == bootId(files)) {
            return std::make_error_code(std::errc::resource_unavailable_try_again);
        }
        const auto unclaimed = error ? error : files.rename(kTrial, kRollback);
        if (unclaimed && unclaimed != std::errc::no_such_file_or_directory) {
            return unclaimed;
        }
    }
    return readRecord(files, kRollback, record);
}

/// The record of how it ended takes the place of the pending one.
std::error_code close(IFiles& files, const Record& record)
{
    return writeRecord(files, kRolledBack, record) ? files.rename(kRollback, kRolledBack) : files.remove(kRollback);
}

} // namespace

Outcome rollBackTrial(IDevice& device, const std::string& why, const RollBackOptions& options)
{
    auto& files = device.files();
    const auto turn = lockChanges(device);
    const bool hasTurn = turn.refusal.empty();
    if (!hasTurn && !options.breaksLock) {
        return refused(turn.refusal);
    }
    Record record;
    if (claim(device, options.onlyWhenDue, record)) {
        return refused(trialState(device).text());
    }
    Outcome outcome;
    for (const auto& file : record.files) {
        keepForeignText(files, file, outcome.notes);
    }
    const bool wereBack = areBack(files, record.files);
    outcome.failures = restoreFiles(device, record.files);
    outcome.reason = textOf(outcome.failures);
    if (!outcome.failures.empty()) {
        return outcome;
    }
    const bool restarts = options.restartsDaemons && (hasTurn || !wereBack);
    if (auto failure = restarts ? restartDaemons(device, record.files) : ""; !failure.empty()) {
        if (!options.acceptsFailedRestart) {
            outcome.reason = "the previous files are back, but " + failure;
            return outcome;
        }
        outcome.notes.push_back(std::move(failure));
    }
    if (!hasTurn) {
        outcome.reason = "the previous files are back, but " + turn.refusal;
        return outcome;
    }
    record.why = why;
    const auto error = close(files, record);
    outcome.isDone = !error;
    outcome.reason = error ? kRollback + (": " + error.message()) : "";
    return outcome;
}

} // namespace networkhost
