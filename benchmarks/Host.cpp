// SPDX-License-Identifier: MIT
// A host for measurements. It makes a manager and waits, waits without a manager, or sets an address of remote.
#include "networkmanager/NetworkManager.h"

#include <iostream>
#include <string>

#include <unistd.h>

namespace {

using Manager = networkmanager::detail::NetworkManager<networkmanager::NetworkManagerData>;

} // namespace

int main(int argc, char** argv)
{
    const std::string what = argc > 1 ? argv[1] : "";
    if (what == "set-ip" && argc == 3) {
        return Manager().setIp("remote", {argv[2], "255.255.255.0", false, {}}) ? 0 : 1;
    }
    if (what == "idle") {
        Manager manager;
        manager.start();
        ::pause();
    } else if (what == "none") {
        ::pause();
    }
    std::cerr << "usage: idle | none | set-ip ADDRESS" << std::endl;
    return 2;
}
