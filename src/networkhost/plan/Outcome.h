// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <system_error>
#include <vector>

namespace networkhost {

/// A step of a change that failed.
struct Failure
{
    enum class Step { ReadFile, WriteFile, RunCommand };

    Step step = Step::WriteFile;
    std::string subject;   // the path, or the command
    std::error_code error; // of a file
    std::string words;     // of a command: its standard error; of a file: what the error does not tell

    /// One sentence for people.
    std::string text() const;
};

/// What came of a change.
struct Outcome
{
    bool isDone = false;            // the files are written and the daemons restarted
    std::string status;             // what the library emitted on requestStatus; empty for nothing
    std::vector<Failure> failures;  // the steps that failed, in order
    std::string reason;             // why it was refused or failed, for people; empty when it is done
    std::vector<std::string> notes; // what else people should know, a sentence each

    /// Not done, because what was asked for is configured and live.
    bool isNothingToChange() const;
};

/// One that is not done, for that reason.
Outcome refused(const std::string& reason, const std::string& status = {});

/// The failures in one sentence.
std::string textOf(const std::vector<Failure>& failures);

} // namespace networkhost
