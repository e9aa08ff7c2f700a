// SPDX-License-Identifier: MIT
#include "networkhost/plan/PlanDaemons.h"

#include "base/Paths.h"
#include "networkhost/state/DaemonHealth.h"
#include "networkhost/text/Words.h"

#include <algorithm>
#include <utility>

namespace networkhost {

namespace paths = velbase2::system::paths;

std::vector<DaemonState> daemonsOf(IDevice& device, const Plan& plan)
{
    auto daemons = device.daemons();
    const auto readsNoFile = [&plan](const DaemonState& daemon) {
        const std::string directory =
            daemon.name == "systemd-networkd" ? paths::kNetworkDirectory : paths::kResolverDirectory;
        return std::none_of(plan.files.begin(), plan.files.end(),
                            [&](const auto& file) { return startsWith(file.path, directory); });
    };
    daemons.erase(std::remove_if(daemons.begin(), daemons.end(), readsNoFile), daemons.end());
    return daemons;
}

std::vector<std::string> daemonFaults(IDevice& device, const Plan& plan)
{
    std::vector<std::string> faults;
    for (const auto& daemon : daemonsOf(device, plan)) {
        if (auto fault = bootFaultOf(daemon); !fault.empty()) {
            faults.push_back(std::move(fault));
        }
    }
    return faults;
}

} // namespace networkhost
