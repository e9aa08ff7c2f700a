// SPDX-License-Identifier: MIT
#pragma once

#include "Scenario.h"
#include "base/Log.h"
#include "networksimulation/Device.h"

/// A scenario on a simulated device that is called as the device box is.
class SimulatedScenario
{
public:
    SimulatedScenario() { device_.put("/etc/hostname", "velnet-device\n"); }

    std::string run(const std::string& step) { return scenario_.run(step); }

private:
    void act(const std::vector<std::string>& words)
    {
        if (words.at(0) == "plug") {
            device_.plug(words.at(1));
        } else if (words.at(0) == "unplug") {
            device_.unplug(words.at(1));
        } else if (words.at(0) == "add-address") {
            device_.addAddress(words.at(1), words.at(2));
        } else {
            throw std::invalid_argument("unknown step: " + words.at(0));
        }
    }

    networksimulation::Device device_;
    Scenario scenario_{device_, [this](const std::vector<std::string>& words) { act(words); }};
};
