// SPDX-License-Identifier: MIT
#include "networksimulation/Schedule.h"

#include <algorithm>
#include <utility>

namespace networksimulation {

void Schedule::after(std::chrono::milliseconds delay, const std::string& owner, std::function<void()> action)
{
    actions_.emplace(now_ + delay, Action{owner, std::move(action)});
}

void Schedule::cancel(const std::string& owner)
{
    for (auto entry = actions_.begin(); entry != actions_.end();) {
        entry = entry->second.owner == owner ? actions_.erase(entry) : std::next(entry);
    }
}

bool Schedule::holdsActionOf(const std::string& owner) const
{
    return std::any_of(actions_.begin(), actions_.end(),
                       [&owner](const auto& entry) { return entry.second.owner == owner; });
}

bool Schedule::advance(std::chrono::milliseconds duration)
{
    const auto end = now_ + duration;
    bool hasRun = false;
    while (!actions_.empty() && actions_.begin()->first <= end) {
        // The action is taken out before it runs, because it may schedule and cancel others.
        const auto next = actions_.extract(actions_.begin());
        now_ = next.key();
        next.mapped().run();
        hasRun = true;
    }
    now_ = end;
    return hasRun;
}

} // namespace networksimulation
