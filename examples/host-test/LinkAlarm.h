// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <optional>

/// Is raised while the cable of an interface is out.
class LinkAlarm
{
public:
    /// The alarm must outlive the manager, whose thread calls it.
    template <class Manager>
    LinkAlarm(Manager& manager, const char* interfaceName)
    {
        manager.getInterfaces().at(interfaceName).link.connect([this](const std::optional<bool>& isUp) {
            isRaised_ = !isUp.value_or(true);
        });
    }

    bool isRaised() const { return isRaised_; }

private:
    std::atomic<bool> isRaised_ = false;
};
