// SPDX-License-Identifier: MIT
#include "networksimulation/Clock.h"

#include <sys/eventfd.h>

namespace networksimulation {

std::chrono::milliseconds Clock::now() const
{
    const auto held = hold();
    return schedule_.now();
}

void Clock::advance(std::chrono::milliseconds duration)
{
    const auto held = hold();
    if (schedule_.advance(duration)) {
        hint();
    }
}

void Clock::settle()
{
    const auto held = hold();
    while (!schedule_.isEmpty()) {
        advance(std::chrono::milliseconds(1));
    }
}

void Clock::hint()
{
    const auto held = hold();
    for (const int descriptor : eventDescriptors_) {
        ::eventfd_write(descriptor, 1);
    }
}

void Clock::addHints(int eventDescriptor)
{
    const auto held = hold();
    eventDescriptors_.insert(eventDescriptor);
}

void Clock::removeHints(int eventDescriptor)
{
    const auto held = hold();
    eventDescriptors_.erase(eventDescriptor);
}

} // namespace networksimulation
