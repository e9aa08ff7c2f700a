// SPDX-License-Identifier: MIT
#pragma once

#include "../networkhost/device/IDevice.h"
#include "Daemons.h"
#include "Faults.h"

#include <string>
#include <vector>

namespace networksimulation {

/// systemd, as far as it starts both daemons and tells their states. Unknown names of daemons throw
/// std::invalid_argument. Not thread-safe.
class Services
{
public:
    /// All of these outlive it. A new one takes both daemons for enabled and active, but starts none.
    Services(Faults& faults, Networkd& networkd, Resolved& resolved);

    const std::vector<networkhost::DaemonState>& states() const { return states_; }
    networkhost::DaemonState& state(const std::string& daemon);

    /// Both daemons count as enabled and active again.
    void repair();

    /// What "systemctl restart" does: the text of its failure, or the empty text.
    std::string restart(const std::string& daemon);

    /// Starts the daemons that are enabled, and stops the others.
    void boot();

private:
    Faults& faults_;
    Networkd& networkd_;
    Resolved& resolved_;
    std::vector<networkhost::DaemonState> states_;
};

} // namespace networksimulation
