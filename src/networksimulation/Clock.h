// SPDX-License-Identifier: MIT
#pragma once

#include "Schedule.h"

#include <chrono>
#include <mutex>
#include <set>

namespace networksimulation {

/// The clock of a simulated device, which stands still until it is advanced. It also holds the lock that all pieces of
/// the device share, and wakes the hints that are open. Thread-safe.
class Clock
{
public:
    using Hold = std::unique_lock<std::recursive_mutex>;

    /// The schedule outlives the clock. A caller of the schedule holds the clock.
    explicit Clock(Schedule& schedule) : schedule_(schedule) {}

    /// No other thread changes or reads the device until the result is destroyed.
    Hold hold() const { return Hold(lock_); }

    std::chrono::milliseconds now() const;

    /// Runs the actions that become due, and hints when there was one.
    void advance(std::chrono::milliseconds duration);

    /// Advances until the schedule is empty.
    void settle();

    /// Adds one to each event descriptor (see eventfd(2)), because something has changed.
    void hint();

    /// The caller keeps the descriptor, and removes it here before closing it.
    void addHints(int eventDescriptor);
    void removeHints(int eventDescriptor);

private:
    mutable std::recursive_mutex lock_; // recursive: an action of the schedule may use the device
    Schedule& schedule_;
    std::set<int> eventDescriptors_;
};

} // namespace networksimulation
