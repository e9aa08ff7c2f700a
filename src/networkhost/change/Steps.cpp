// SPDX-License-Identifier: MIT
#include "networkhost/change/Steps.h"

#include "base/LogLine.h"
#include "base/Paths.h"
#include "networkhost/text/Words.h"
#include "networkmanager/BuiltInInterfaces.h"
#include "networkmanager/RequestStatus.h"

#include <algorithm>
#include <string_view>

namespace networkhost {

namespace paths = velbase2::system::paths;
using velbase2::system::log::kNotable;
using velbase2::system::log::detail::logLine;

namespace {

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

/// Moves aside anything but a regular file that stands where a file of systemd-networkd belongs. When the daemon reads
/// a FIFO, it waits for ever, and so does the process that restarts the daemon.
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

} // namespace

Outcome runSteps(IDevice& device, const Plan& plan, bool allowsInPlace)
{
    Outcome outcome;
    outcome.status = plan.status;
    if (!runCommands(device, plan.preparations, outcome)) {
        outcome.status = outcome.failures.back().words; // libVelNetworkManager emits the tool's words, too
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

std::string restartDaemons(IDevice& device, const std::vector<SavedFile>& files)
{
    const auto isAnyIn = [&files](std::string_view directory) {
        return std::any_of(files.begin(), files.end(),
                           [&](const auto& file) { return startsWith(file.path, directory); });
    };
    clearTheWay(device.files());
    std::string failures;
    if (isAnyIn(paths::kNetworkDirectory) && !device.system().reloadSettings()) {
        failures = "systemd-networkd could not be restarted";
    }
    if (isAnyIn(paths::kResolverDirectory) && !device.system().reloadResolveD()) {
        failures += std::string(failures.empty() ? "" : ", ") + "systemd-resolved could not be restarted";
    }
    return failures;
}

} // namespace networkhost
