// SPDX-License-Identifier: MIT
#include "networkmanager/NetworkManagerImpl.h"

namespace networkmanager::detail {

template class NetworkManagerImpl<
    vel_systemd::configuration::SystemdBackendImpl<vel_systemd::configuration::file::File>>;

} // namespace networkmanager::detail
