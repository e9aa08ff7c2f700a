// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>

namespace networksimulation {

/// Actions that are due at a time of a clock which stands still until it is advanced. Not thread-safe.
class Schedule
{
public:
    std::chrono::milliseconds now() const { return now_; }

    /// `owner` is for cancel().
    void after(std::chrono::milliseconds delay, const std::string& owner, std::function<void()> action);
    void cancel(const std::string& owner);

    /// Runs what is due meanwhile, in the order of time. True for anything.
    bool advance(std::chrono::milliseconds duration);

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
