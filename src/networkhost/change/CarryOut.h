// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "../plan/Outcome.h"
#include "../plan/Plan.h"

#include <optional>
#include <string>
#include <vector>

/// The steps that apply() and trials are made of. The caller holds the change lock.
namespace networkhost {

/// A file as it was before a change.
struct SavedFile
{
    std::string path;
    std::optional<std::string> text; // none: there was no file
    Rights rights;
    std::optional<std::string> changedTo; // the checksum of the text that the change gives it; none: it removes it
};

/// 16 hexadecimal digits.
std::string checksumOf(const std::string& text);

/// Why the plan must not be carried out now; empty when it may.
std::string refusalOf(IDevice& device, const Plan& plan, bool force);

/// The files of the plan as they are now.
std::vector<SavedFile> savedFilesOf(IDevice& device, const Plan& plan);

/// Moves aside what lies in the place of a file of systemd-networkd and is none: reading a FIFO, the daemon would wait
/// for ever, and with it whoever restarts it.
void clearTheWay(IFiles& files);

/// Runs the commands and writes the files. Stops at the first step that fails. `allowsInPlace`: see apply().
Outcome carryOut(IDevice& device, const Plan& plan, bool allowsInPlace);

/// Whether the files are as they were.
bool areBack(const IFiles& files, const std::vector<SavedFile>& saved);

struct Restored
{
    std::vector<Failure> failures; // none when all files are back, but for those that stay
    bool isChanged = false;        // a file is another one than before
};

/// Puts the files back, as far as it can: what differs from the saved one is replaced, what was not there is removed.
/// Can be repeated. Where a file has no room to be replaced, it is written in place. A link that masks the file, or
/// anything else that somebody with more rights has put there meanwhile, stays; `notes` tells of it.
Restored restoreFiles(IDevice& device, const std::vector<SavedFile>& saved, std::vector<std::string>& notes);

/// Makes the daemons read the files again, each that reads one of them. Those that did not, in words; "" when all did.
std::string restartDaemons(IDevice& device, const std::vector<SavedFile>& files);

} // namespace networkhost
