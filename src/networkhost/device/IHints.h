// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>

namespace networkhost {

/// What IHints::take() has taken. An implementation that cannot tell sets every field.
struct TakenHints
{
    bool isAny = false;
    bool isSettled = false; // not only of a file that is still being written
    bool isOfLink = false;
    bool isOfFile = false; // or of a directory

    explicit operator bool() const { return isAny; }
};

/// Hints that something which this library reads may have changed; they do not say what. For one thread.
class IHints
{
public:
    virtual ~IHints() = default;

    /// Readable while there is a hint, for poll(2) and the like.
    virtual int fd() const = 0;

    /// Takes all hints. When there is none, waits for the first, at most `limit` on the device's clock.
    virtual TakenHints take(std::chrono::milliseconds limit) = 0;

    /// Also watches files and directories that have come into being since the last call. Call it before each look that
    /// follows a hint of a file, and from time to time: mounts give no hint.
    virtual void rearm() = 0;
};

} // namespace networkhost
