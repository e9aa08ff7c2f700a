// SPDX-License-Identifier: MIT
#include "networkhost/change/SavedFiles.h"

#include <cerrno>

namespace networkhost {
namespace {

std::error_code restore(IFiles& files, const SavedFile& file)
{
    if (!file.text) {
        return files.remove(file.path);
    }
    auto error = files.replace(file.path, *file.text, &file.rights);
    if (error == std::errc::invalid_argument && !files.moveAside(file.path)) {
        error = files.replace(file.path, *file.text, &file.rights);
    }
    const bool hasNoRoom = error == std::errc::no_space_on_device || error.value() == EDQUOT;
    return hasNoRoom || isHelpedInPlace(error) ? files.overwrite(file.path, *file.text) : error;
}

/// Whether another user with more rights has decided about a file that could not be put back. This user has put a mask
/// or something else that is not a regular file there, or has written another text than the change's.
bool isDecided(const IFiles& files, const SavedFile& file, const std::error_code& error)
{
    if (error == std::errc::invalid_argument || error == std::errc::too_many_symbolic_link_levels) {
        return true;
    }
    const bool isForbidden = error == std::errc::permission_denied || error == std::errc::operation_not_permitted;
    std::string text;
    const auto unread = files.read(file.path, text);
    return isForbidden && (unread ? unread == error : file.changedTo != checksumOf(text));
}

} // namespace

bool isHelpedInPlace(const std::error_code& error)
{
    return error == std::errc::permission_denied || error == std::errc::operation_not_permitted ||
           error == std::errc::read_only_file_system || error == std::errc::device_or_resource_busy;
}

std::vector<SavedFile> savedFilesOf(const IFiles& files, const Plan& plan)
{
    std::vector<SavedFile> saved;
    for (const auto& file : plan.files) {
        Rights rights;
        files.rightsOf(file.path, rights); // a missing file needs no rights
        saved.push_back(
            {file.path, file.before, rights, file.after ? std::optional(checksumOf(*file.after)) : std::nullopt});
    }
    return saved;
}

Restored restoreFiles(IFiles& files, const std::vector<SavedFile>& saved, std::vector<std::string>& notes)
{
    Restored restored;
    for (const auto& file : saved) {
        if (isBack(files, file)) {
            continue;
        }
        const auto error = restore(files, file);
        const Failure failure{Failure::Step::WriteFile, file.path, error, {}};
        if (error && isDecided(files, file, error)) {
            notes.push_back("somebody else decides on it, and it stays as it is: " + failure.text());
        } else if (error) {
            restored.failures.push_back(failure);
        }
        restored.isChanged = restored.isChanged || !error;
    }
    return restored;
}

} // namespace networkhost
