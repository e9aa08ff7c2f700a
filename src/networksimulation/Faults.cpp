// SPDX-License-Identifier: MIT
#include "networksimulation/Faults.h"

#include <algorithm>
#include <utility>

namespace networksimulation {

int Faults::ofWrite(const std::string& path) const
{
    const auto fault = writes_.find(path);
    return fault == writes_.end() ? 0 : fault->second;
}

std::optional<std::string> Faults::ofCommand(const std::string& command) const
{
    const auto fault = std::find_if(commands_.begin(), commands_.end(), [&command](const auto& entry) {
        return command.compare(0, entry.first.size(), entry.first) == 0;
    });
    return fault == commands_.end() ? std::nullopt : std::optional(fault->second);
}

bool Faults::holdUp(const std::string& daemon)
{
    const auto hanging = daemons_.find(daemon);
    if (hanging == daemons_.end()) {
        return false;
    }
    hanging->second = true;
    return true;
}

std::vector<std::string> Faults::repair()
{
    const auto ended = std::exchange(*this, Faults());
    std::vector<std::string> waiting;
    for (const auto& [daemon, isWaiting] : ended.daemons_) {
        if (isWaiting) {
            waiting.push_back(daemon);
        }
    }
    return waiting;
}

} // namespace networksimulation
