// SPDX-License-Identifier: MIT
// Reads steps from standard input and prints what comes of each, with a line "." behind it and one before the first: on
// this device, or with
// --simulated on a new simulated one. On this device, what comes from outside has been done by whoever wrote the step.
#include "Scenario.h"
#include "SimulatedScenario.h"
#include "networkhost/device/RealDevice.h"

#include <iostream>

int main(int argc, char** /*argv*/)
{
    const auto answer = [](auto& scenario) {
        std::string step;
        std::cout << '.' << std::endl; // it knows how the device is before the first step
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
