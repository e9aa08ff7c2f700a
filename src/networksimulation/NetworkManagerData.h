// SPDX-License-Identifier: MIT
#pragma once

#include "../networkmanager/NetworkManager.h"
#include "../networkmanager/Refresher.h"
#include "../systemd/configuration/SystemdBackend.h"
#include "Device.h"
#include "File.h"

namespace networksimulation {

/// The data of a manager over the simulated device. A host's test uses the manager like this:
///
///     networksimulation::Device device;
///     networksimulation::NetworkManager manager;
///     manager.start();
struct NetworkManagerData
{
    using Backend = vel_systemd::configuration::SystemdBackendImpl<File>;

    Backend backend;
    networkmanager::detail::NetworkManagerImpl<Backend> implementation{backend, Device::current().makeSystem()};
};

using NetworkManager = networkmanager::detail::NetworkManager<NetworkManagerData>;

/// Refreshes the cells of a manager that is not started, on the caller's thread.
template <class Manager>
void refresh(Manager& manager)
{
    networkmanager::Refresher(manager.getSignals(), manager.getInterfaces(), Device::current().system()).refresh();
}

} // namespace networksimulation
