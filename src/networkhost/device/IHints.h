// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>

namespace networkhost {

/// What IHints::takeKinds() has taken.
struct TakenHints
{
    bool isAny = false;
    bool isSettled = false; // not only of a file that is still being written
    bool isOfLink = false;
    bool isOfFile = false; // or of a directory
};

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

    /// The same, and tells what the hints are about. An implementation that cannot tell sets all fields when there is a
    /// hint.
    virtual TakenHints takeKinds(std::chrono::milliseconds limit)
    {
        const bool isAny = take(limit);
        return {isAny, isAny, isAny, isAny};
    }

    /// Also watches files and directories that have come into being since the last call. Call it before each look that
    /// follows a hint of a file, and from time to time: mounts give no hint.
    virtual void rearm() = 0;
};

} // namespace networkhost
