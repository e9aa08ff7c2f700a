// SPDX-License-Identifier: MIT
#pragma once

#include "Scenario.h"
#include "networkhost/state/Text.h"
#include "networksimulation/NetworkManagerData.h"

#include <cerrno>
#include <optional>
#include <stdexcept>
#include <string>

/// A scenario on a simulated device with the host name of the device box.
class SimulatedScenario
{
public:
    SimulatedScenario()
    {
        device_.put("/etc/hostname", "velnet-device\n");
        scenario_.emplace(device_, [this](const Step& step) { return act(step); });
    }

    std::string run(const std::string& step) { return scenario_->run(step); }

private:
    std::string act(const Step& step)
    {
        const auto verb = step.word(0);
        if (verb == "plug") {
            device_.plug(step.word(1));
        } else if (verb == "unplug") {
            device_.unplug(step.word(1));
        } else if (verb == "add-address") {
            device_.addAddress(step.word(1), step.word(2));
        } else if (verb == "remove") {
            device_.removeInterface(step.word(1));
        } else if (verb == "put") {
            device_.put(step.word(1), step.textAfter(2));
        } else if (verb == "fail-write") {
            device_.failWrite(step.word(1), ENOSPC);
        } else if (verb == "fail") {
            const auto text = step.textAfter(1);
            const auto colon = text.find(": ");
            device_.failCommand(text.substr(0, colon), colon == std::string::npos ? "no" : text.substr(colon + 2));
        } else if (verb == "hang") {
            device_.hang(step.word(1));
        } else if (verb == "neighbour") {
            device_.addNeighbour(step.word(1), step.word(2));
        } else if (verb == "no-neighbour") {
            device_.removeNeighbour(step.word(1), step.word(2));
        } else if (verb == "daemon") {
            device_.setDaemon(step.word(1), step.word(2), step.word(3));
        } else if (verb == "router") {
            device_.setDhcpServer("remote", {"192.168.50.100", "255.255.255.0", step.word(1), {}});
            device_.reboot();
        } else if (verb == "reboot") {
            device_.reboot();
        } else if (verb == "no-guards") {
            device_.removeGuards();
        } else if (verb == "repair") {
            device_.repair();
        } else if (verb == "load") {
            return load(step.word(1));
        } else {
            throw std::invalid_argument("unknown step: " + verb);
        }
        return {};
    }

    /// The cells of an interface in a new manager.
    static std::string load(const std::string& interfaceName)
    {
        auto interfaces = networkmanager::EthernetInterfaces().interfaces;
        auto& iface = interfaces.at(interfaceName);
        networksimulation::NetworkManagerData::Backend().load(iface);
        return "loaded " + networkhost::toText(iface.ipSettings.get().value()) + ", mask " +
               networkhost::toText(iface.ipSettings.get()->mask) + ", routes " +
               networkhost::toText(iface.routes.get().value());
    }

    networksimulation::Device device_;
    std::optional<Scenario> scenario_;
};
