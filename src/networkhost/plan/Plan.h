// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "../device/IFiles.h"
#include "../state/Configuration.h"
#include "Outcome.h"

#include <optional>
#include <string>
#include <vector>

namespace networkhost {

/// A file as it is and as it is to be. No text: there is no file.
struct FileChange
{
    std::string path;
    std::optional<std::string> before;
    std::optional<std::string> after;
};

struct Command
{
    std::string text;
    bool mayFail = false; // it goes on all the same
};

/// What a request would do. Made without touching anything, carried out by apply() and tryOut().
struct Plan
{
    std::string title;                 // the request as velnetctl's command: "set-ip remote 10.0.0.5/24"
    std::vector<Command> preparations; // to run first: they try a new gateway, and remove the old one
    std::vector<FileChange> files;
    std::vector<Command> activations;  // they make the daemons read the files
    std::vector<std::string> concerns; // why it is refused unless it is forced, a sentence each
    std::vector<std::string> warnings; // what else people should know
    Outcome outcome;                   // of carrying it out; when not isDone: why there is nothing to carry out
};

/// The lines of the old text that the new one drops though nobody asked for it, as a hand-written "MTUBytes=1400" or a
/// second address.
std::vector<std::string> droppedLines(const FileChange& file);

/// Fills `concerns` and `warnings`: those that the plan brings, not those that are there already, but for the daemons
/// and cables that it needs. `advice` is for a gateway outside the subnet. Waits for neighbours: some milliseconds, or
/// a second for a gateway that does not answer.
void judge(IDevice& device, Plan& plan, const std::string& advice = {});

/// While a trial is pending, a plan that finds nothing to change is refused: the settings may be on trial.
void refuseDuringTrial(IDevice& device, Plan& plan);

/// The part of a configuration that the plan's files make up: their interfaces, and systemd-resolved.
Configuration concernedBy(const Plan& plan, const Configuration& configuration);

/// The files as they will be.
class PlannedFiles : public IReadableFiles
{
public:
    /// Both outlive it.
    PlannedFiles(const IReadableFiles& files, const Plan& plan) : files_(files), plan_(plan) {}

    std::error_code read(const std::string& path, std::string& text) const override;
    std::error_code list(const std::string& directory, std::vector<std::string>& names) const override;

private:
    const IReadableFiles& files_;
    const Plan& plan_;
};

} // namespace networkhost
