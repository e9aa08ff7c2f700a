// SPDX-License-Identifier: MIT
#pragma once

#include "../networkmanager/system/ISystemIF.h"
#include "IFiles.h"

#include <chrono>

namespace networkhost {

/// All that this library touches. There is the real one, and in tests a simulated one.
class IDevice
{
public:
    virtual ~IDevice() = default;

    virtual networkmanager::ISystemIF& system() = 0;
    virtual IFiles& files() = 0;

    /// On a clock that never goes back.
    virtual std::chrono::milliseconds now() const = 0;

    /// Returns when that time has gone by on this clock.
    virtual void pause(std::chrono::milliseconds duration) = 0;
};

} // namespace networkhost
