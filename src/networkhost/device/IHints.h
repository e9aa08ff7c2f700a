// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>

namespace networkhost {

/// Says that something which this library reads may have changed, not what. For one thread.
class IHints
{
public:
    virtual ~IHints() = default;

    /// Readable while there is a hint, for poll(2) and the like.
    virtual int fd() const = 0;

    /// Takes all hints there are. Without one, waits so long for the first, on the device's clock. True for any.
    virtual bool take(std::chrono::milliseconds limit) = 0;

    /// Watches what has come into being since the last time, too. Call it before each look.
    virtual void rearm() = 0;
};

} // namespace networkhost
