// SPDX-License-Identifier: MIT
#include "networksimulation/Hints.h"

#include "networksimulation/Device.h"

#include <mutex>

#include <sys/eventfd.h>

namespace networksimulation {

Hints::Hints(Device& device) : device_(device), ready_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    const std::lock_guard guard(device_.lock_);
    device_.hints_.insert(this);
}

Hints::~Hints()
{
    const std::lock_guard guard(device_.lock_);
    device_.hints_.erase(this);
}

bool Hints::take(std::chrono::milliseconds limit)
{
    const auto end = device_.now() + limit;
    ::eventfd_t count = 0;
    while (::eventfd_read(ready_.get(), &count) != 0) {
        if (device_.now() >= end) {
            return false;
        }
        device_.advance(1);
    }
    return true;
}

void Hints::add()
{
    ::eventfd_write(ready_.get(), 1);
}

} // namespace networksimulation
