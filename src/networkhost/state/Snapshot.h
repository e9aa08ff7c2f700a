// SPDX-License-Identifier: MIT
#pragma once

#include "../../networkmanager/EthInterface.h"
#include "../../networkmanager/HostSignals.h"
#include "../device/IDevice.h"
#include "Configuration.h"
#include "LiveState.h"
#include "TrialState.h"

#include <map>
#include <string>
#include <vector>

namespace networkhost {

/// Everything that there is to show of a device at one moment:
///
///     std::cout << networkhost::toJson(networkhost::readSnapshot(device)) << '\n';
struct Snapshot
{
    std::string hostname;
    std::string gateway;
    std::map<std::string, networkmanager::EthInterface> interfaces; // by name; see LiveInterface::isPresent
    Configuration configured;
    LiveState live;
    std::vector<DaemonState> daemons;
    TrialState trial;
};

/// Reads everything once, without a manager.
Snapshot readSnapshot(IDevice& device);

/// Copies the cells of a manager with the built-in interfaces, and a configuration that has just been read. Reads the
/// rest, and the routes, which no pass assigns.
Snapshot readSnapshot(IDevice& device, const HostSignals& host,
                      const std::map<std::string, networkmanager::EthInterface>& interfaces,
                      const Configuration& configured);

/// The same, and reads the configuration. For a host with live updates: after each pass, on the thread of its loop.
template <class Manager>
Snapshot readSnapshot(IDevice& device, Manager& manager)
{
    return readSnapshot(device, manager.getSignals(), manager.getInterfaces(), readConfiguration(device.files()));
}

/// What `velnetctl status --json` prints, for all interfaces or for those named. The manual page lists the keys. With
/// an indentation of -1, it is one line. Throws std::out_of_range for an unknown name.
std::string toJson(const Snapshot& snapshot, const std::vector<std::string>& interfaceNames = {}, int indentation = 2);

/// What `velnetctl pending --json` prints.
std::string toJson(const TrialState& trial, int indentation = 2);

} // namespace networkhost
