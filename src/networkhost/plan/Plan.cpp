// SPDX-License-Identifier: MIT
#include "networkhost/plan/Plan.h"

#include "networkhost/plan/PlannedFiles.h"
#include "networkhost/state/Missing.h"
#include "networkmanager/RequestStatus.h"

#include <boost/algorithm/string/join.hpp>

namespace networkhost {

bool Plan::isNothingToChange() const
{
    return !isRefused() && files.empty() && status == networkmanager::status::kNothingToChange;
}

Outcome outcomeOf(const Plan& plan, bool force)
{
    Outcome outcome;
    outcome.status = plan.status;
    outcome.failures = plan.failures;
    outcome.reason = plan.isNothingToChange() ? plan.status : plan.refusal;
    if (outcome.reason.empty() && plan.files.empty()) {
        outcome.reason = "the plan has no files to write";
    }
    if (outcome.reason.empty() && !force && !plan.objections.empty()) {
        outcome = refused(boost::algorithm::join(plan.objections, "; "));
        outcome.objections = plan.objections;
    }
    outcome.isDone = outcome.reason.empty();
    return outcome;
}

std::string waitUntilLive(IDevice& device, const Plan& plan, std::chrono::milliseconds limit)
{
    return waitUntilLive(device, touchedNow(device.files(), plan), limit, plan.before);
}

} // namespace networkhost
