// SPDX-License-Identifier: MIT
#include "networkhost/plan/Plan.h"

#include "base/Paths.h"
#include "networkhost/state/Missing.h"
#include "networkhost/text/Words.h"
#include "networkmanager/BuiltInInterfaces.h"
#include "networkmanager/RequestStatus.h"

#include <algorithm>

#include <boost/algorithm/string/join.hpp>

namespace networkhost {

namespace paths = velbase2::system::paths;

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
    if (outcome.reason.empty() && !force && !plan.objections.empty()) {
        outcome = refused(boost::algorithm::join(plan.objections, "; "));
        outcome.objections = plan.objections;
    }
    outcome.isDone = outcome.reason.empty();
    return outcome;
}

std::string waitUntilLive(IDevice& device, const Plan& plan, std::chrono::milliseconds limit)
{
    return waitUntilLive(device, plan.after, limit, plan.before);
}

Configuration touchedBy(const Plan& plan, const Configuration& configuration)
{
    const auto isTouched = [&plan](const std::string& beginning) {
        return std::any_of(plan.files.begin(), plan.files.end(),
                           [&](const auto& file) { return startsWith(file.path, beginning); });
    };
    Configuration touched;
    for (const auto& builtIn : networkmanager::kBuiltInInterfaces) {
        if (isTouched(paths::ofInterface(builtIn.networkFile))) {
            touched.interfaces[builtIn.name] = configuration.interfaces.at(builtIn.name);
        }
    }
    if (isTouched(paths::kResolverDirectory)) {
        touched.dnsServers = configuration.dnsServers;
        touched.searchDomains = configuration.searchDomains;
    }
    return touched;
}

} // namespace networkhost
