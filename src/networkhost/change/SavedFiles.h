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

/// The files of a change as they were before it, and how they come back. The caller holds the change lock.
namespace networkhost {

/// The files of the plan as they are now.
std::vector<SavedFile> savedFilesOf(const IFiles& files, const Plan& plan);

/// Whether only the directory is in the way of a replacement, or that the file is a mount of its own.
bool isHelpedInPlace(const std::error_code& error);

struct Restored
{
    std::vector<Failure> failures; // none when all files are back, but for those that stay
    bool isChanged = false;        // a file is another one than before
};

/// Puts the files back, as far as it can: what differs from the saved one is replaced, what was not there is removed.
/// Can be repeated. Where a file has no room to be replaced, it is written in place. A link that masks the file, or
/// anything else that somebody with more rights has put there meanwhile, stays; `notes` tells of it.
Restored restoreFiles(IFiles& files, const std::vector<SavedFile>& saved, std::vector<std::string>& notes);

} // namespace networkhost

#pragma GCC visibility pop
