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

    /// Calls `tell` within look() when something has been missing for the limit without a break, then whenever
    /// something else is missing first, and once when all is live again. The device outlives it.
    LackWatch(IDevice& device, std::chrono::milliseconds limit, Tell tell);

    /// Compares what is configured with what is live now. Call it after each pass of LiveUpdates, and after timeout().
    void look();

    /// The same for an answer of missing() that the host has already.
    void look(const std::string& lacking);

    /// For poll(): the milliseconds until a look may have to tell something without a pass; -1 for none.
    int timeout() const;

private:
    IDevice& device_;
    std::chrono::milliseconds limit_;
    Tell tell_;
    std::optional<std::chrono::milliseconds> since_; // on the device's clock
    std::string told_;                               // the last words; empty when all was live
};

} // namespace networkhost
