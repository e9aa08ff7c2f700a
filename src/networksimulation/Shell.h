// SPDX-License-Identifier: MIT
#pragma once

#include "../base/IpAddress.h"
#include "Clock.h"
#include "EventLog.h"
#include "Faults.h"
#include "Kernel.h"
#include "Services.h"

#include <string>
#include <vector>

namespace networksimulation {

/// Runs commands on a simulated device. Each command is noted as an event, and hinted unless a fault keeps it from
/// running. Thread-safe.
class Shell
{
public:
    /// The arguments outlive the shell.
    Shell(const Faults& faults, Kernel& kernel, Services& services, EventLog& events, Clock& clock);

    /// Returns whether the command succeeds. Otherwise `errorOutput` says why, as the real command does on standard
    /// error.
    bool run(const std::string& command, std::string& errorOutput);

    /// Returns the addresses that "ip address" tells of an interface; see Kernel.
    std::vector<velbase2::nsa::common::structs::IpAddress> addressesOf(const std::string& interfaceName) const;

private:
    std::string effectOf(const std::string& command); // the text of its failure

    const Faults& faults_;
    Kernel& kernel_;
    Services& services_;
    EventLog& events_;
    Clock& clock_;
};

} // namespace networksimulation
