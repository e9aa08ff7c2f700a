// SPDX-License-Identifier: MIT
#include "networksimulation/Hints.h"

#include <sys/eventfd.h>

namespace networksimulation {

Hints::Hints(Clock& clock) : clock_(clock), ready_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    clock_.addHints(ready_.get());
}

Hints::~Hints()
{
    clock_.removeHints(ready_.get());
}

bool Hints::take(std::chrono::milliseconds limit)
{
    const auto end = clock_.now() + limit;
    ::eventfd_t count = 0;
    while (::eventfd_read(ready_.get(), &count) != 0) {
        if (clock_.now() >= end) {
            return false;
        }
        clock_.advance(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace networksimulation
