// SPDX-License-Identifier: MIT
#include "networkmanager/NetworkManager.h"

namespace networkmanager::detail {

template class NetworkManager<NetworkManagerData>;

} // namespace networkmanager::detail
