// SPDX-License-Identifier: MIT
#pragma once

#include "../networkhost/device/IDevice.h"
#include "Daemons.h"
#include "Faults.h"

#include <string>
#include <vector>

namespace networksimulation {

/// The part of systemd that starts both daemons and tells their states. An unknown name of a daemon throws
/// std::invalid_argument. Not thread-safe.
class Services
{
public:
    /// The arguments outlive it. Both daemons count as enabled and active, but boot() is the first to start them.
    Services(Faults& faults, Networkd& networkd, Resolved& resolved);

    const std::vector<networkhost::DaemonState>& states() const { return states_; }
    networkhost::DaemonState& state(const std::string& daemon);

    /// Both daemons count as enabled and active again.
    void repair();

    /// Does what "systemctl restart" does. Returns the text of its failure, which is empty when it succeeds.
    std::string restart(const std::string& daemon);

    /// Starts the daemons that are enabled, and leaves the others inactive.
    void boot();

private:
    Faults& faults_;
    Networkd& networkd_;
    Resolved& resolved_;
    std::vector<networkhost::DaemonState> states_;
};

} // namespace networksimulation
