// SPDX-License-Identifier: MIT
#include "networkhost/ChangeLock.h"

#include "networkhost/Record.h"

namespace networkhost {

ChangeLock lockChanges(IDevice& device, std::chrono::milliseconds limit)
{
    constexpr std::chrono::milliseconds kPause(20);
    const auto end = device.now() + limit;
    device.files().makeDirectory(kTrialDirectory);
    for (;;) {
        ChangeLock result;
        std::string holder;
        const auto error = device.files().tryLock(kChangeLock, result.lock, holder);
        if (error != std::errc::operation_would_block) {
            return result; // who cannot lock cannot write either, or only in place
        }
        if (device.now() >= end) {
            result.refusal = "another change is at work: " + holder;
            return result;
        }
        device.pause(kPause);
    }
}

} // namespace networkhost
