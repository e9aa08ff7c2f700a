// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>

namespace networkhost {

/// Hints that something which this library reads may have changed; they do not say what. For one thread.
class IHints
{
public:
    virtual ~IHints() = default;

    /// Readable while there is a hint, for poll(2) and the like.
    virtual int fd() const = 0;

    /// Takes all hints. When there is none, waits for the first, at most `limit` on the device's clock. True when there
    /// was one.
    virtual bool take(std::chrono::milliseconds limit) = 0;

    /// Also watches files and directories that have come into being since the last call. Call it before each look.
    virtual void rearm() = 0;
};

} // namespace networkhost
