// SPDX-License-Identifier: MIT
#include "SimulatedScenario.h"

#include <fstream>
#include <memory>

#include <gtest/gtest.h>

/// What the file expects of a step stands below it, indented. In the device box the same file is held.
TEST(Scenario, ComesOutAsRecordedOnTheSimulatedDevice)
{
    velbase2::system::log::setMinimumLevel(velbase2::system::log::kFileProblem);
    std::ifstream file(SCENARIOS);
    std::unique_ptr<SimulatedScenario> scenario;
    std::string name;
    std::string step;
    std::string expected;
    const auto check = [&] {
        if (!step.empty()) {
            EXPECT_EQ(scenario->run(step), expected) << name << ": " << step;
        }
        expected.clear();
    };
    int steps = 0;
    std::string line;
    while (std::getline(file, line)) {
        if (line.rfind("== ", 0) == 0) {
            check();
            step.clear();
            name = line;
            scenario.reset(); // there is one simulated device at a time
            scenario = std::make_unique<SimulatedScenario>();
        } else if (line.rfind("> ", 0) == 0) {
            check();
            step = line.substr(2);
            ++steps;
        } else {
            expected += (line.empty() ? line : line.substr(4)) + '\n';
        }
    }
    check();
    EXPECT_GT(steps, 40);
    velbase2::system::log::setMinimumLevel(velbase2::system::log::kNotable);
}
