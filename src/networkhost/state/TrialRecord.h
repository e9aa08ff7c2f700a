// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IFiles.h"
#include "SavedFile.h"

#include <chrono>
#include <string>
#include <system_error>
#include <vector>

#pragma GCC visibility push(hidden)

/// The record of a trial: all that is needed to go back, in a directory on the file system of the configuration, so
/// that both last or both vanish. Its name says what it means, and one rename changes that.
namespace networkhost {

struct TrialRecord
{
    std::string title;                    // of the plan
    std::string by;                       // "process 812 (velnetctl)"
    std::string boot;                     // the boot that it was made in
    std::chrono::milliseconds deadline{}; // on the clock of IDevice::now()
    bool isLive = false;                  // the live state has shown it, and the countdown runs
    bool wasLive = false;                 // before the trial, the live state lacked nothing of the files
    bool isRestored = false;              // the files are back, and the daemons were restarted with them
    std::string why;                      // it is or was rolled back
    std::vector<SavedFile> files;
};

/// EBADMSG for a record that is damaged, or that names a file which this library never writes. Anything but a regular
/// file counts as missing here, and is moved aside below.
std::error_code readRecord(const IFiles& files, const std::string& path, TrialRecord& record);

/// It is on disk when this returns. EFBIG beyond 1 MiB.
std::error_code writeRecord(IFiles& files, const std::string& path, const TrialRecord& record);

std::error_code renameRecord(IFiles& files, const char* from, const char* target);

/// The record of how a roll-back ended takes the place of the pending one.
std::error_code endRecord(IFiles& files, const TrialRecord& record);

/// Rights for a file of the directory: only its group may read it, as it may hold what is not for everybody.
std::error_code rightsForRecords(const IFiles& files, Rights& rights);

/// A text that is another one after each start of the device, and the same for each of its units and containers; empty
/// when it cannot be read.
std::string bootMark(const IFiles& files);

/// Whether there is a record of that name.
bool isThere(const IFiles& files, const std::string& path);

/// Whether the process that has begun a trial is still there, while the trial is not live.
bool hasCaller(const IFiles& files);

/// Ends a trial whose previous files are back with the daemons, though not live yet: another change follows. The caller
/// has the turn. False when there is none.
bool closeRestored(IFiles& files);

/// The directory of the records, and the one that it lies in.
std::error_code makeTrialDirectory(IFiles& files);

} // namespace networkhost

#pragma GCC visibility pop
