// SPDX-License-Identifier: MIT
#pragma once

#include "../device/Failure.h"
#include "../device/IFiles.h"
#include "../plan/Plan.h"
#include "../state/SavedFile.h"

#include <string>
#include <system_error>
#include <vector>

#pragma GCC visibility push(hidden)

/// Saves the files of a change before it, and restores them. The caller holds the change lock.
namespace networkhost {

/// The files of the plan as they are now.
std::vector<SavedFile> savedFilesOf(const IFiles& files, const Plan& plan);

/// Whether the file cannot be replaced, but can perhaps be written in place. This is the case when the directory does
/// not allow the replacement, or when the file is a mount point.
bool isHelpedInPlace(const std::error_code& error);

struct Restored
{
    std::vector<Failure> failures; // empty when all files are back, except those that have to stay
    bool isChanged = false;        // at least one file was changed
};

/// Restores all files that it can: replaces those that differ, and removes those that did not exist. The call can be
/// repeated. A file that cannot be replaced, for example on a full disk, is written in place. A link that masks the
/// file stays, and so does anything else that a user with more rights has put there. `notes` names it.
Restored restoreFiles(IFiles& files, const std::vector<SavedFile>& saved, std::vector<std::string>& notes);

} // namespace networkhost

#pragma GCC visibility pop
