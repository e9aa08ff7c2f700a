// SPDX-License-Identifier: MIT
#include "LinkAlarm.h"
#include "MoveRemote.h"
#include "networkhost/device/RealDevice.h"
#include "networkmanager/NetworkManager.h"

#include <iostream>

int main(int argc, char** argv)
{
    networkmanager::detail::NetworkManager<networkmanager::NetworkManagerData> manager;
    const LinkAlarm alarm(manager, "remote");
    manager.start();
    if (argc > 1) {
        networkhost::RealDevice device;
        std::cout << moveRemoteTo(device, argv[1]) << std::endl;
    }
    manager.stop();
    std::cout << (alarm.isRaised() ? "the cable of remote is out" : "the cable of remote is in") << std::endl;
}
