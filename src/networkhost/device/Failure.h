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

/// The failures in one sentence.
std::string textOf(const std::vector<Failure>& failures);

} // namespace networkhost
