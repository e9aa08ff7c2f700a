// SPDX-License-Identifier: MIT
#pragma once

#include "networkhost/NetworkHost.h"

#include <chrono>
#include <string>

/// Gives remote a static address and waits until the device has it. Returns the reason of a failure for the log, or an
/// empty text.
inline std::string moveRemoteTo(networkhost::IDevice& device, const std::string& address)
{
    const auto plan = networkhost::planIp(device, "remote", {address, "255.255.255.0", false, ""});
    const auto outcome = networkhost::apply(device, plan);
    if (!outcome.isDone && !outcome.isNothingToChange()) {
        return outcome.reason;
    }
    const auto lacking = networkhost::waitUntilLive(device, plan, std::chrono::seconds(20));
    return lacking.empty() ? "" : "the device still lacks " + lacking;
}
