// SPDX-License-Identifier: MIT
#include "networkhost/Outcome.h"

#include "networkmanager/RequestStatus.h"

namespace networkhost {

std::string Failure::text() const
{
    if (step == Step::WriteFile) {
        return "cannot write " + subject + ": " + (words.empty() ? error.message() : words);
    }
    return "'" + subject + "' failed" + (words.empty() ? " without a word" : ": " + words);
}

bool Outcome::isNothingToChange() const
{
    return status == networkmanager::status::kNothingToChange;
}

} // namespace networkhost
