// SPDX-License-Identifier: MIT
#pragma once

#include "networkhost/device/IDevice.h"
#include "networkhost/plan/Requests.h"
#include "networkhost/state/Configuration.h"
#include "networkhost/state/Missing.h"

#include <chrono>
#include <string>

/// Gives remote a static address and waits until the device has it. The empty text, or why not, for the log.
inline std::string moveRemoteTo(networkhost::IDevice& device, const std::string& address)
{
    const auto before = networkhost::readConfiguration(device.files());
    const auto outcome = networkhost::setIp(device, "remote", {address, "255.255.255.0", false, ""});
    if (!outcome.isDone && !outcome.isNothingToChange()) {
        return outcome.reason;
    }
    const auto wanted = networkhost::readConfiguration(device.files());
    const auto lacking = networkhost::waitUntilLive(device, wanted, std::chrono::seconds(20), before);
    return lacking.empty() ? "" : "the device still lacks " + lacking;
}
