// SPDX-License-Identifier: MIT
#pragma once

#include "Event.h"

#include <utility>
#include <vector>

namespace networksimulation {

/// The events of a simulated device, in order. Not thread-safe.
class EventLog
{
public:
    void note(const Event& event) { events_.push_back(event); }

    /// Returns what was noted since the last call.
    std::vector<Event> take() { return std::exchange(events_, {}); }

private:
    std::vector<Event> events_;
};

} // namespace networksimulation
