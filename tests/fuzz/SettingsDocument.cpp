// SPDX-License-Identifier: MIT
#include "networkhost/plan/SettingsDocument.h"

#include "Fuzz.h"
#include "networkhost/change/Apply.h"
#include "networkhost/plan/Settings.h"
#include "networksimulation/Device.h"

void fuzz::check(const std::string& input)
{
    std::vector<std::string> faults;
    const auto wanted = networkhost::parseDocument(input, faults);
    for (const auto& fault : faults) {
        require(!hasControlCharacter(fault), "a fault can be printed");
    }
    if (!faults.empty()) {
        return;
    }
    const auto document = networkhost::toDocument(wanted);
    require(networkhost::parseDocument(document, faults) == wanted && faults.empty(), "it is written as it was read");

    networksimulation::Device device;
    const auto plan = networkhost::planSettings(device, input);
    const bool isDone = networkhost::apply(device, plan, {true}).isDone;
    require(isDone || plan.isNothingToChange(), "it can be applied");
    require(networkhost::saveSettings(device.files()) == document, "it is saved as it was applied");
    for (const auto& event : device.takeEvents()) {
        requireKnown(event);
    }
}
