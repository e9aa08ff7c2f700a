// SPDX-License-Identifier: MIT
#include "networkhost/plan/DaemonHealth.h"

#include "base/Paths.h"

#include <algorithm>
#include <initializer_list>
#include <sstream>
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

std::vector<DaemonState> parseDaemonStates(const std::string& output)
{
    std::vector<DaemonState> daemons;
    std::istringstream lines(output);
    DaemonState next;
    std::string line;
    for (bool isThere = true; isThere;) {
        isThere = static_cast<bool>(std::getline(lines, line));
        if (!isThere || line.empty()) { // between two units
            if (!next.name.empty()) {
                daemons.push_back(std::exchange(next, {}));
            }
            continue;
        }
        const auto separator = std::min(line.find('='), line.size() - 1);
        const auto key = line.substr(0, separator);
        const auto value = line.substr(separator + 1);
        if (key == "Id") {
            next.name = value.substr(0, value.rfind(".service"));
        } else if (key == "ActiveState") {
            next.active = value;
        } else if ((key == "LoadState" && value == "not-found") || (key == "UnitFileState" && next.enabled.empty())) {
            next.enabled = value;
        }
    }
    return daemons;
}

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
                            [&](const auto& file) { return file.path.compare(0, directory.size(), directory) == 0; });
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
