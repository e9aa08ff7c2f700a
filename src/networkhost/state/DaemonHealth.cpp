// SPDX-License-Identifier: MIT
#include "networkhost/state/DaemonHealth.h"

#include <algorithm>
#include <initializer_list>

namespace networkhost {

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
    // Other states, for example "static", are no fault: another unit starts the daemon.
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

} // namespace networkhost
