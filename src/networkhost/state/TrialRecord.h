// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IFiles.h"
#include "SavedFile.h"

#include <chrono>
#include <string>
#include <system_error>
#include <vector>

#pragma GCC visibility push(hidden)

/// The record of a trial holds everything that a roll-back needs. Its directory is on the file system of the
/// configuration. Therefore both survive a power cut or both are lost. The file name tells the state of the trial, and
/// one rename changes the state.
namespace networkhost {

struct TrialRecord
{
    std::string title;                    // of the plan
    std::string by;                       // "process 812 (velnetctl)"
    std::string boot;                     // the bootMark() of the boot in which it was made
    std::chrono::milliseconds deadline{}; // on the clock of IDevice::now()
    bool isLive = false;                  // the settings have become live, and the countdown runs
    bool wasLive = false;                 // the previous settings were live when the trial began
    bool isRestored = false;              // the files are back, and the daemons were restarted with them
    std::string why;                      // the reason for the roll-back
    std::vector<SavedFile> files;
};

/// Returns EBADMSG for a damaged record, and for a record that names a file which this library never writes. Anything
/// but a regular file counts as missing here. writeRecord() and renameRecord() move it aside.
std::error_code readRecord(const IFiles& files, const std::string& path, TrialRecord& record);

/// The record is on the disk when this returns. Returns EFBIG for a record above 1 MiB.
std::error_code writeRecord(IFiles& files, const std::string& path, const TrialRecord& record);

std::error_code renameRecord(IFiles& files, const char* from, const char* target);

/// Replaces the pending record of a roll-back by the record of its end.
std::error_code endRecord(IFiles& files, const TrialRecord& record);

/// The rights of a file in the records' directory. Only the owner and the group may read it, because it may hold texts
/// that are not for everybody.
std::error_code rightsForRecords(const IFiles& files, Rights& rights);

/// A text that changes at each start of the device, and is the same in all its units and containers. It is empty when
/// it cannot be read.
std::string bootMark(const IFiles& files);

/// Whether a record with that path exists.
bool isThere(const IFiles& files, const std::string& path);

/// Whether the process that began the trial still runs. Only valid while the trial is not live.
bool hasCaller(const IFiles& files);

/// Ends a trial before another change. The previous files must be back and read by the daemons, but need not be live
/// yet. The caller holds the change lock. False when there is no such trial.
bool closeRestored(IFiles& files);

/// Makes the directory of the records and its parent.
std::error_code makeTrialDirectory(IFiles& files);

} // namespace networkhost

#pragma GCC visibility pop
