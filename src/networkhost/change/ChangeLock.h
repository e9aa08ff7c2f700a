// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"

#include <chrono>
#include <memory>
#include <string>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// Held while the configuration is changed through this library: changes take turns, in other processes, too.
struct ChangeLock
{
    std::unique_ptr<IFiles::Lock> lock;
    std::string refusal; // why it was not to be had, in a sentence; otherwise empty
};

/// Waits for its turn. Without the lock, nothing may be changed.
ChangeLock lockChanges(IDevice& device, std::chrono::milliseconds limit = std::chrono::seconds(10));

/// The same for the lock of whoever begins a trial.
ChangeLock lockCaller(IDevice& device);

} // namespace networkhost

#pragma GCC visibility pop
