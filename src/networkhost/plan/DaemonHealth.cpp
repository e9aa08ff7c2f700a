// SPDX-License-Identifier: MIT
#include "networkhost/plan/DaemonHealth.h"

#include "base/Paths.h"
#include "networkhost/text/Words.h"

#include <algorithm>
#include <initializer_list>
#include <utility>

namespace networkhost {

namespace paths = velbase2::system::paths;

namespace {

constexpr const char* kNetworkd = "systemd-networkd";

bool isAmong(const std::string& state, std::initializer_list<const char*> states)
{
    return std::find(states.begin(), states.end(), state) != states.end();
}

std::string lossWithout(const DaemonState& daemon)
{
    return daemon.name == kNetworkd ? "has no network" : "resolves no names";
}

bool isMasked(const DaemonState& daemon)
{
    return isAmong(daemon.enabled, {"masked", "masked-runtime"});
}

bool isInstalled(const DaemonState& daemon)
{
    return daemon.enabled != "not-found";
}

} // namespace

std::string bootFaultOf(const DaemonState& daemon)
{
    const auto& name = daemon.name;
    if (!isInstalled(daemon)) {
        return name + " is not installed: without it the device " + lossWithout(daemon);
    }
    if (isMasked(daemon)) {
        return name + " is masked and cannot be started: after a reboot the device " + lossWithout(daemon) +
               "; run: systemctl unmask " + name + " && systemctl enable --now " + name;
    }
    // "static" and others without an [Install] section are started by another unit.
    if (isAmong(daemon.enabled, {"disabled", "enabled-runtime", "linked", "linked-runtime"})) {
        return name + " is not enabled: after a reboot the device " + lossWithout(daemon) + "; run: systemctl enable " +
               name;
    }
    return {};
}

std::string presentFaultOf(const DaemonState& daemon)
{
    const auto& name = daemon.name;
    if (!isInstalled(daemon) || isMasked(daemon)) {
        return {};
    }
    if (daemon.active == "failed") {
        return name + " has failed; look into: journalctl -u " + name + "; then run: systemctl restart " + name;
    }
    return daemon.active == "inactive" ? name + " is not running; run: systemctl start " + name : std::string();
}

std::vector<std::string> faultsOf(const DaemonState& daemon)
{
    std::vector<std::string> faults{bootFaultOf(daemon), presentFaultOf(daemon)};
    faults.erase(std::remove(faults.begin(), faults.end(), std::string()), faults.end());
    return faults;
}

std::vector<DaemonState> daemonsOf(IDevice& device, const Plan& plan)
{
    auto daemons = device.daemons();
    const auto isNotConcerned = [&plan](const DaemonState& daemon) {
        const std::string directory = daemon.name == kNetworkd ? paths::kNetworkDirectory : paths::kResolverDirectory;
        return std::none_of(plan.files.begin(), plan.files.end(),
                            [&](const auto& file) { return startsWith(file.path, directory); });
    };
    daemons.erase(std::remove_if(daemons.begin(), daemons.end(), isNotConcerned), daemons.end());
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
