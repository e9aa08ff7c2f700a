// SPDX-License-Identifier: MIT
#pragma once

#include "../device/Failure.h"

#include <string>
#include <vector>

namespace networkhost {

/// What came of a change.
struct Outcome
{
    bool isDone = false;                 // the files are written and the daemons restarted
    std::string status;                  // what the library emitted on requestStatus; empty for nothing
    std::vector<Failure> failures;       // the steps that failed, in order
    std::string reason;                  // why it was refused or failed, for people; empty when it is done
    std::vector<std::string> objections; // of a plan that was refused for them, a sentence each
    std::vector<std::string> notes;      // what else people should know, a sentence each

    /// Not done, because what was asked for is configured and live.
    bool isNothingToChange() const;
};

/// One that is not done, for that reason.
Outcome refused(const std::string& reason, const std::string& status = {});

} // namespace networkhost
