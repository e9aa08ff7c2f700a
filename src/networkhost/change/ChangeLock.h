// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"

#include <chrono>
#include <memory>
#include <string>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// Held while this library changes the configuration. Changes take turns, also between processes.
struct ChangeLock
{
    std::unique_ptr<IFiles::Lock> lock;
    std::string refusal; // a sentence that says why the lock could not be taken; empty with the lock
};

/// Waits for the lock, at most until the limit. Nothing may be changed without the lock.
ChangeLock lockChanges(IDevice& device, std::chrono::milliseconds limit = std::chrono::seconds(10));

/// The same for the lock of the process that begins a trial.
ChangeLock lockCaller(IDevice& device);

} // namespace networkhost

#pragma GCC visibility pop
