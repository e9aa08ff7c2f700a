// SPDX-License-Identifier: MIT
// A host that starts a manager and then does nothing, for benchmarks/live-updates.
#include "networkmanager/NetworkManager.h"

#include <unistd.h>

int main()
{
    networkmanager::detail::NetworkManager<networkmanager::NetworkManagerData> manager;
    manager.start();
    ::pause();
    return 0;
}
