// SPDX-License-Identifier: MIT
#pragma once

#include "networkhost/device/IDevice.h"
#include "networkhost/state/Backend.h"
#include "networkmanager/NetworkManagerImpl.h"
#include "networkmanager/system/SystemIF.h"

#include <functional>
#include <string>
#include <vector>

/// A line such as "set-ip remote dhcp".
class Step
{
public:
    explicit Step(const std::string& line);

    /// The word with that index. Empty when there are fewer words.
    std::string word(std::size_t index) const;

    /// The text after `count` words. The escapes "\\n", "\\r", "\\t", "\\e" and "\\s" (a blank) are replaced.
    std::string textAfter(std::size_t count) const;

private:
    std::string line_;
    std::vector<std::string> words_;
};

/// Runs steps with a manager over a real or simulated device. Returns the results of each step as a text: files,
/// commands, statuses, cells, and changes of the kernel and the resolver. The text is the same on both devices.
class Scenario
{
public:
    /// Runs a step that comes from outside the device, for example "plug IF". Returns the lines to add to the result.
    using Surroundings = std::function<std::string(const Step& step)>;

    /// The device outlives the scenario.
    Scenario(networkhost::IDevice& device, Surroundings surroundings);
    Scenario(const Scenario&) = delete;
    Scenario& operator=(const Scenario&) = delete;
    ~Scenario();

    /// Runs one step, lets the daemons settle, and refreshes the cells. Returns one result per line.
    std::string run(const std::string& step);

private:
    class Recorder;

    void ask(const Step& step);
    void change(const Step& step);
    void runVelnetctl(const Step& step);
    void settle();
    void refresh();
    void tell(const std::string& text);
    std::string liveText();
    std::string changesSince(const std::string& before) const;

    networkhost::IDevice& device_;
    Surroundings surroundings_;
    std::string lease_; // shown as LEASE, because it differs between devices
    std::string told_;
    std::string shown_; // the state of kernel and resolver after the last step
    networkhost::Backend backend_;
    networkmanager::detail::NetworkManagerImpl<networkhost::Backend> manager_;
};
