// SPDX-License-Identifier: MIT
#pragma once

#include "../systemd/configuration/SystemdBackendDeclaration.h"
#include "NetworkManagerImpl.h"

namespace networkmanager {

/// The types and objects of a NetworkManager.
struct NetworkManagerData
{
    using Backend = vel_systemd::configuration::SystemdBackendImpl<vel_systemd::configuration::file::File>;

    Backend backend;
    detail::NetworkManagerImpl<Backend> implementation{backend};
};

} // namespace networkmanager
