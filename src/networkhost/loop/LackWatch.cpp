// SPDX-License-Identifier: MIT
#include "networkhost/loop/LackWatch.h"

#include "networkhost/state/Configuration.h"
#include "networkhost/state/LiveState.h"
#include "networkhost/state/Missing.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace networkhost {

using std::chrono::milliseconds;

LackWatch::LackWatch(IDevice& device, milliseconds limit, Tell tell)
    : device_(device), limit_(limit), tell_(std::move(tell))
{}

void LackWatch::look()
{
    look(missing(readConfiguration(device_.files()), readLiveState(device_)));
}

void LackWatch::look(const std::string& lacking)
{
    const auto now = device_.now();
    since_ = lacking.empty() ? std::nullopt : std::optional(since_.value_or(now));
    const bool isDue = !since_ || now - *since_ >= limit_;
    if (isDue && lacking != told_) {
        told_ = lacking;
        tell_(lacking);
    }
}

int LackWatch::timeout() const
{
    if (!since_ || !told_.empty()) {
        return -1;
    }
    const auto left = (*since_ + limit_ - device_.now()).count();
    return static_cast<int>(std::clamp<long long>(left, 0, std::numeric_limits<int>::max()));
}

} // namespace networkhost
