// SPDX-License-Identifier: MIT
#include "networkhost/Outcome.h"

#include "networkmanager/RequestStatus.h"

namespace networkhost {

std::string Failure::text() const
{
    if (step == Step::RunCommand) {
        return "'" + subject + "' failed" + (words.empty() ? " without a word" : ": " + words);
    }
    auto why = error.message();
    if (error == std::errc::too_many_symbolic_link_levels) {
        why = "a symbolic link on the way, or its target, belongs neither to root nor to the caller";
    } else if (error == std::errc::invalid_argument && words.empty()) {
        why = "it is not a regular file";
    }
    return (step == Step::ReadFile ? "cannot read " : "cannot write ") + subject + ": " + (words.empty() ? why : words);
}

bool Outcome::isNothingToChange() const
{
    return status == networkmanager::status::kNothingToChange;
}

Outcome refused(const std::string& reason, const std::string& status)
{
    Outcome outcome;
    outcome.status = status;
    outcome.reason = reason;
    return outcome;
}

std::string textOf(const std::vector<Failure>& failures)
{
    std::string text;
    for (const auto& failure : failures) {
        text += (text.empty() ? "" : "; ") + failure.text();
    }
    return text;
}

} // namespace networkhost
