// SPDX-License-Identifier: MIT
// A host that makes one change after the other without waiting for their effect, to show what comes of it.
// Arguments: "ADDRESS MASK" is a setIp of remote, a single address a setGateway.
#include "networkmanager/NetworkManager.h"

#include <condition_variable>
#include <iostream>
#include <sstream>

int main(int argc, char** argv)
{
    networkmanager::detail::NetworkManager<networkmanager::NetworkManagerData> manager;
    std::mutex lock;
    std::condition_variable refreshed;
    bool isRefreshed = false;
    // The host name is the last value of the first pass.
    manager.getSignals().hostname.connect([&](const std::string&) {
        const std::lock_guard guard(lock);
        isRefreshed = true;
        refreshed.notify_one();
    });
    manager.getSignals().requestStatus.connect([](const std::string& status) { std::cout << status << std::endl; });
    manager.start();
    std::unique_lock guard(lock);
    refreshed.wait(guard, [&] { return isRefreshed; });

    for (int i = 1; i < argc; ++i) {
        velbase2::nsa::common::IpSettings settings;
        std::istringstream(argv[i]) >> settings.ip >> settings.mask;
        if (settings.mask.empty()) {
            manager.setGateway(settings.ip);
        } else {
            manager.setIp("remote", settings);
        }
    }
}
