// SPDX-License-Identifier: MIT
#include "networksimulation/Services.h"

#include <algorithm>
#include <stdexcept>

namespace networksimulation {
namespace {

constexpr const char* kNetworkd = "systemd-networkd";
constexpr const char* kResolved = "systemd-resolved";

} // namespace

Services::Services(Faults& faults, Networkd& networkd, Resolved& resolved)
    : faults_(faults), networkd_(networkd), resolved_(resolved)
{
    repair();
}

networkhost::DaemonState& Services::state(const std::string& daemon)
{
    const auto found =
        std::find_if(states_.begin(), states_.end(), [&daemon](const auto& state) { return state.name == daemon; });
    if (found == states_.end()) {
        throw std::invalid_argument("no such daemon: " + daemon);
    }
    return *found;
}

void Services::repair()
{
    states_ = {{kNetworkd, "enabled", "active"}, {kResolved, "enabled", "active"}};
}

std::string Services::restart(const std::string& daemon)
{
    auto& known = state(daemon);
    if (known.enabled == "masked") {
        return "Failed to restart " + daemon + ".service: Unit " + daemon + ".service is masked.\n";
    }
    known.active = "active";
    if (faults_.holdUp(daemon)) {
        return {};
    }
    if (daemon == kNetworkd) {
        networkd_.restart();
    } else {
        resolved_.restart();
    }
    return {};
}

void Services::boot()
{
    for (auto& daemon : states_) {
        daemon.active = "inactive";
        if (daemon.enabled == "enabled") {
            restart(daemon.name);
        } else if (daemon.name == kNetworkd) {
            networkd_.stop();
        }
    }
}

} // namespace networksimulation
