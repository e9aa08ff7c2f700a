// SPDX-License-Identifier: MIT
#include "networkhost/change/CarryOut.h"

#include "base/LogLine.h"
#include "base/Paths.h"
#include "networkhost/change/RollBack.h"
#include "networkhost/change/Trial.h"
#include "networkmanager/BuiltInInterfaces.h"
#include "networkmanager/RequestStatus.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <string_view>

#include <boost/algorithm/string/join.hpp>
#include <boost/crc.hpp>

namespace networkhost {

namespace paths = velbase2::system::paths;
using velbase2::system::log::kNotable;
using velbase2::system::log::detail::logLine;

namespace {

std::optional<std::string> contentOf(const IFiles& files, const std::string& path)
{
    std::string text;
    return files.read(path, text) ? std::nullopt : std::optional(text);
}

/// Where only the directory, or that the file is a mount of its own, is in the way of a replacement.
bool isHelpedInPlace(const std::error_code& error)
{
    return error == std::errc::permission_denied || error == std::errc::operation_not_permitted ||
           error == std::errc::read_only_file_system || error == std::errc::device_or_resource_busy;
}

std::string withoutFinalLineEnds(std::string text)
{
    text.erase(text.find_last_not_of('\n') + 1);
    return text;
}

bool runCommand(IDevice& device, const Command& command, Outcome& outcome)
{
    std::string output;
    std::string errorOutput;
    if (device.system().executeCmd(command.text, output, errorOutput) || command.mayFail) {
        return true;
    }
    outcome.failures.push_back({Failure::Step::RunCommand, command.text, {}, withoutFinalLineEnds(errorOutput)});
    return false;
}

bool runCommands(IDevice& device, const std::vector<Command>& commands, Outcome& outcome)
{
    return std::all_of(commands.begin(), commands.end(),
                       [&](const Command& command) { return runCommand(device, command, outcome); });
}

bool writeFile(IDevice& device, const FileChange& file, bool allowsInPlace, Outcome& outcome)
{
    auto& files = device.files();
    logLine(kNotable, "Write '", file.after.value_or(""), "' into file '", file.path, "'");
    auto error = file.after ? files.replace(file.path, *file.after) : files.remove(file.path);
    if (allowsInPlace && file.after && isHelpedInPlace(error) && !files.overwrite(file.path, *file.after)) {
        outcome.notes.push_back(file.path + " was written in place, because it cannot be replaced (" + error.message() +
                                "): a power cut at this moment would have left a part of it");
        error.clear();
    }
    if (error) {
        outcome.failures.push_back({Failure::Step::WriteFile, file.path, error, {}});
    }
    return !error;
}

bool isBack(const IFiles& files, const SavedFile& file)
{
    std::string text;
    const auto error = files.read(file.path, text);
    if (!file.text) {
        return error == std::errc::no_such_file_or_directory;
    }
    Rights rights;
    if (error || text != *file.text || files.rightsOf(file.path, rights)) {
        return false;
    }
    // Without root's rights, a file that everybody may read comes back as the caller's: see IFiles::replace().
    const bool isOwnerFree = (file.rights.mode & 0004U) != 0;
    return rights == file.rights || (isOwnerFree && rights.mode == file.rights.mode);
}

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

/// Whether a file that could not be put back is somebody's decision who has more rights: a mask, which is no regular
/// file, or a file of its own, with another text than the trial's.
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

void clearTheWay(IFiles& files)
{
    for (const auto& iface : networkmanager::kBuiltInInterfaces) {
        for (const char* suffix : {"", paths::kRoutesDropIn}) {
            const auto path = paths::ofInterface(iface.networkFile, suffix);
            std::string text;
            if (files.read(path, text) == std::errc::invalid_argument) {
                files.moveAside(path);
            }
        }
    }
}

std::string checksumOf(const std::string& text)
{
    boost::crc_optimal<64, 0x42F0E1EBA9EA3693, ~std::uint64_t{0}, ~std::uint64_t{0}, true, true> sum; // CRC-64/XZ
    sum.process_bytes(text.data(), text.size());
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string digits;
    for (int shift = 60; shift >= 0; shift -= 4) {
        digits += kDigits[(sum.checksum() >> static_cast<unsigned int>(shift)) & 0xFU];
    }
    return digits;
}

std::string refusalOf(IDevice& device, const Plan& plan, bool force)
{
    if (const auto trial = trialState(device); trial.isPending() && !closeRestored(device)) {
        wakeGuard(device);
        return trial.text();
    }
    if (!force && !plan.concerns.empty()) {
        return boost::algorithm::join(plan.concerns, "; ");
    }
    for (const auto& file : plan.files) {
        if (contentOf(device.files(), file.path) != file.before) {
            return file.path + " is no longer as the plan saw it: somebody has changed it since";
        }
    }
    return {};
}

std::vector<SavedFile> savedFilesOf(IDevice& device, const Plan& plan)
{
    std::vector<SavedFile> saved;
    for (const auto& file : plan.files) {
        Rights rights;
        device.files().rightsOf(file.path, rights); // a file that is not there needs none
        saved.push_back(
            {file.path, file.before, rights, file.after ? std::optional(checksumOf(*file.after)) : std::nullopt});
    }
    return saved;
}

Outcome carryOut(IDevice& device, const Plan& plan, bool allowsInPlace)
{
    Outcome outcome;
    outcome.status = plan.outcome.status;
    if (!runCommands(device, plan.preparations, outcome)) {
        outcome.status = outcome.failures.back().words; // of the tool, as the library has it
    } else {
        outcome.isDone = std::all_of(plan.files.begin(), plan.files.end(),
                                     [&](const auto& file) { return writeFile(device, file, allowsInPlace, outcome); });
        clearTheWay(device.files());
        outcome.isDone = outcome.isDone && runCommands(device, plan.activations, outcome);
        if (!outcome.isDone && !outcome.status.empty()) {
            outcome.status = networkmanager::status::kInternalError;
        }
    }
    outcome.reason = textOf(outcome.failures);
    return outcome;
}

bool areBack(const IFiles& files, const std::vector<SavedFile>& saved)
{
    return std::all_of(saved.begin(), saved.end(), [&files](const SavedFile& file) { return isBack(files, file); });
}

Restored restoreFiles(IDevice& device, const std::vector<SavedFile>& saved, std::vector<std::string>& notes)
{
    Restored restored;
    for (const auto& file : saved) {
        if (isBack(device.files(), file)) {
            continue;
        }
        const auto error = restore(device.files(), file);
        const Failure failure{Failure::Step::WriteFile, file.path, error, {}};
        if (error && isDecided(device.files(), file, error)) {
            notes.push_back("somebody else decides on it, and it stays as it is: " + failure.text());
        } else if (error) {
            restored.failures.push_back(failure);
        }
        restored.isChanged = restored.isChanged || !error;
    }
    return restored;
}

std::string restartDaemons(IDevice& device, const std::vector<SavedFile>& files)
{
    const auto isAmong = [&files](std::string_view directory) {
        return std::any_of(files.begin(), files.end(),
                           [&](const auto& file) { return file.path.compare(0, directory.size(), directory) == 0; });
    };
    clearTheWay(device.files());
    std::string failures;
    if (isAmong(paths::kNetworkDirectory) && !device.system().reloadSettings()) {
        failures = "systemd-networkd could not be restarted";
    }
    if (isAmong(paths::kResolverDirectory) && !device.system().reloadResolveD()) {
        failures += std::string(failures.empty() ? "" : ", ") + "systemd-resolved could not be restarted";
    }
    return failures;
}

} // namespace networkhost
