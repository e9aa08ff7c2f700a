// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace networkhost {

/// Tells when a configured setting has not been live for a while:
///
///     networkhost::LackWatch lacks(device, std::chrono::seconds(30), [](const std::string& lacking) {
///         std::cout << (lacking.empty() ? "all is live" : "the device lacks " + lacking) << std::endl;
///     });
///     while (::poll(&ready, 1, lacks.timeout()) >= 0) {
///         updates.dispatch();
///         lacks.look();
///     }
///
/// Use it on one thread.
class LackWatch
{
public:
    /// Gets the words of missing(), or the empty text when all is live again.
    using Tell = std::function<void(const std::string& lacking)>;

    /// look() calls `tell` when something has been missing for the whole limit, again when another setting becomes the
    /// first missing one, and once when all is live again. The device outlives the watch.
    LackWatch(IDevice& device, std::chrono::milliseconds limit, Tell tell);

    /// Compares what is configured with what is live now. Call it after each pass of LiveUpdates, and after timeout().
    void look();

    /// The same for an answer of missing() that the host has already.
    void look(const std::string& lacking);

    /// A timeout for poll(), in milliseconds: call look() when it is over, even without a pass. -1 when no look is
    /// needed.
    int timeout() const;

private:
    IDevice& device_;
    std::chrono::milliseconds limit_;
    Tell tell_;
    std::optional<std::chrono::milliseconds> since_; // on the device's clock
    std::string told_;                               // the last words; empty when all was live
};

} // namespace networkhost
