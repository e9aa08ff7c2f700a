// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>

namespace networksimulation {

/// Holds actions that are due at a time of a clock. The clock stands still until it is advanced. Not thread-safe.
class Schedule
{
public:
    std::chrono::milliseconds now() const { return now_; }

    /// The action runs when that time has gone by, unless cancel() is called for its owner before.
    void after(std::chrono::milliseconds delay, const std::string& owner, std::function<void()> action);
    void cancel(const std::string& owner);

    /// Runs the actions that become due, in the order of time. Returns whether there was one.
    bool advance(std::chrono::milliseconds duration);

    bool holdsActionOf(const std::string& owner) const;
    bool isEmpty() const { return actions_.empty(); }

private:
    struct Action
    {
        std::string owner;
        std::function<void()> run;
    };

    std::chrono::milliseconds now_{0};
    std::multimap<std::chrono::milliseconds, Action> actions_;
};

} // namespace networksimulation
