// SPDX-License-Identifier: MIT
#pragma once

#include "networkhost/Backend.h"
#include "networkhost/IDevice.h"
#include "networkhost/ReportingSystem.h"
#include "networkmanager/NetworkManagerImpl.h"

#include <functional>
#include <string>
#include <vector>

/// A manager over a device, real or simulated, that is told one step after the other and tells what comes of each:
/// files, commands, statuses, cells, and what changed in kernel and resolver. The same steps give the same text on
/// both.
class Scenario
{
public:
    /// Does what comes from outside: "plug IF", "unplug IF", "add-address IF ADDRESS". The device outlives it.
    using Surroundings = std::function<void(const std::vector<std::string>& words)>;

    Scenario(networkhost::IDevice& device, Surroundings surroundings);

    /// Does one step, lets the daemons settle, refreshes the cells. What came of it, one thing a line.
    std::string run(const std::string& step);

private:
    class Recorder;

    void ask(const std::string& step);
    void settle();
    void tell(const std::string& text);
    std::string liveText();
    std::string changesSince(const std::string& before) const;

    networkhost::IDevice& device_;
    Surroundings surroundings_;
    std::string lease_; // differs between devices, so that it is told as LEASE
    std::string told_;
    std::string shown_; // of kernel and resolver, after the last step
    networkhost::Backend backend_;
    networkmanager::detail::NetworkManagerImpl<networkhost::Backend> manager_;
};
