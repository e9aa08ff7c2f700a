// SPDX-License-Identifier: MIT
#pragma once

#include "CarryOut.h"
#include "IDevice.h"

#include <chrono>
#include <string>
#include <system_error>
#include <vector>

/// The record of a trial: all that is needed to go back, in a directory on the file system of the configuration, so
/// that both last or both vanish. Its name says what it means, and one rename changes that.
namespace networkhost {

inline constexpr const char* kTrialDirectory = "/etc/systemd/network/.velnet";
inline constexpr const char* kChangeLock = "/etc/systemd/network/.velnet/change.lock"; // held during a change
inline constexpr const char* kGuardLock = "/etc/systemd/network/.velnet/guard.lock";   // held by the guard
inline constexpr const char* kTrial = "/etc/systemd/network/.velnet/trial";            // pending
inline constexpr const char* kRollback = "/etc/systemd/network/.velnet/rollback";      // being rolled back
inline constexpr const char* kConfirmed = "/etc/systemd/network/.velnet/confirmed";    // the last one, kept
inline constexpr const char* kRolledBack = "/etc/systemd/network/.velnet/rolled-back"; // the last one, undone

struct Record
{
    std::string title;                    // of the plan
    std::string by;                       // "process 812 (velnetctl)"
    std::string boot;                     // the boot that it was made in
    std::chrono::milliseconds deadline{}; // on the clock of IDevice::now()
    bool isLive = false;                  // the live state has shown it, and the countdown runs
    std::string why;                      // of a trial that was rolled back
    std::vector<SavedFile> files;
};

/// EBADMSG for a record that is damaged, or that names a file which this library never writes.
std::error_code readRecord(const IFiles& files, const std::string& path, Record& record);

/// It is on disk when this returns. EFBIG beyond 1 MiB.
std::error_code writeRecord(IFiles& files, const std::string& path, const Record& record);

/// Rights for a file of the directory: only its group may read it, as it may hold what is not for everybody.
std::error_code rightsForRecords(const IFiles& files, Rights& rights);

/// Of the running system.
std::string bootId(const IFiles& files);

} // namespace networkhost
