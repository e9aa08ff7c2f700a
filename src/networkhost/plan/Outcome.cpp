// SPDX-License-Identifier: MIT
#include "networkhost/plan/Outcome.h"

#include "networkmanager/RequestStatus.h"

namespace networkhost {

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

} // namespace networkhost
