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

    /// The word of that number; empty when there are fewer.
    std::string word(std::size_t index) const;

    /// All behind that many words, with "\\n", "\\r", "\\t", "\\e" and "\\s" (a blank) for what they stand for.
    std::string textAfter(std::size_t count) const;

private:
    std::string line_;
    std::vector<std::string> words_;
};

/// A manager over a device, real or simulated, that is told one step after the other and tells what comes of each:
/// files, commands, statuses, cells, and what changed in kernel and resolver. The same steps give the same text on
/// both.
class Scenario
{
public:
    /// Does what comes from outside, as "plug IF", and returns what there is to tell.
    using Surroundings = std::function<std::string(const Step& step)>;

    /// The device outlives it.
    Scenario(networkhost::IDevice& device, Surroundings surroundings);
    Scenario(const Scenario&) = delete;
    Scenario& operator=(const Scenario&) = delete;
    ~Scenario();

    /// Does one step, lets the daemons settle, refreshes the cells. What came of it, one thing a line.
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
    std::string lease_; // differs between devices, so that it is told as LEASE
    std::string told_;
    std::string shown_; // of kernel and resolver, after the last step
    networkhost::Backend backend_;
    networkmanager::detail::NetworkManagerImpl<networkhost::Backend> manager_;
};
