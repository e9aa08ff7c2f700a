// SPDX-License-Identifier: MIT
#pragma once

#include "../device/Failure.h"
#include "../device/IDevice.h"
#include "../state/Configuration.h"
#include "Outcome.h"

#include <chrono>
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

/// The steps of a request, or why it has none. The plan functions make it without touching anything; apply() and
/// tryOut() carry it out.
struct Plan
{
    std::string title;                   // the request as velnetctl's command: "set-ip remote 10.0.0.5/24"
    std::vector<Command> preparations;   // to run first: they try a new gateway, and remove the old one
    std::vector<FileChange> files;       // to write
    std::vector<Command> activations;    // they make the daemons read the files
    std::vector<std::string> objections; // why it is refused unless it is forced, a sentence each
    std::vector<std::string> warnings;   // what else people should know
    Configuration before;                // of the interfaces and the resolver that the files belong to
    Configuration after;
    std::vector<std::string> faults; // of a document of settings, each with its place
    std::string refusal;             // why the request is refused, for people; empty when it is not
    std::string status;              // what the library emitted on requestStatus; empty for nothing
    std::vector<Failure> failures;   // files that could not be read

    bool isRefused() const { return !refusal.empty(); }

    /// What was asked for is configured and live, and not on trial.
    bool isNothingToChange() const;
};

/// The answer of apply() to the plan on an idle device: its refusal, that there is nothing to change, or, without
/// `force`, its objections. isDone means here that the plan can be carried out.
Outcome outcomeOf(const Plan& plan, bool force = false);

/// For a plan that apply() has carried out: waits until its interfaces and resolver are live as their files say, and
/// show no settings of before, or until the limit is over. Returns what is still missing, in words (see missing());
/// empty when all is live.
std::string waitUntilLive(IDevice& device, const Plan& plan, std::chrono::milliseconds limit);

} // namespace networkhost
