// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"

#include <chrono>
#include <functional>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// Returns when isOver() is true, when the limit has passed, or when the wait is broken off. Calls isOver() at once,
/// and whenever something may have changed.
void waitUntil(IDevice& device, std::chrono::milliseconds limit, const std::function<bool()>& isOver);

/// Is told about the waits of a thread, and may break them off.
class IWaiting
{
public:
    virtual ~IWaiting() = default;

    virtual void begin() = 0;
    virtual void end() = 0;
    virtual bool isBrokenOff() = 0;
};

/// Sets the observer of this thread's waits from now on. nullptr means none.
void setWaiting(IWaiting* waiting);

/// Whether the waits of this thread are broken off.
bool isBrokenOff();

} // namespace networkhost

#pragma GCC visibility pop
