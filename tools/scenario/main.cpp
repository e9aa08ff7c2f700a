// SPDX-License-Identifier: MIT
// Reads steps from standard input and prints the results of each. Prints a line "." before the first step and after
// each step. Runs on this device, or with --simulated on a new simulated one. On this device, the caller has already
// carried out the steps from outside.
#include "Scenario.h"
#include "SimulatedScenario.h"
#include "networkhost/device/RealDevice.h"

#include <iostream>

int main(int argc, char** /*argv*/)
{
    const auto answer = [](auto& scenario) {
        std::string step;
        std::cout << '.' << std::endl; // the state before the first step has been read
        while (std::getline(std::cin, step)) {
            std::cout << scenario.run(step) << '.' << std::endl;
        }
    };
    if (argc > 1) {
        SimulatedScenario scenario;
        answer(scenario);
    } else {
        networkhost::RealDevice device;
        Scenario scenario(device, [](const Step& /*step*/) { return std::string(); });
        answer(scenario);
    }
}
