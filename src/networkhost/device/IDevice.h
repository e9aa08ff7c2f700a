// SPDX-License-Identifier: MIT
#pragma once

#include "../../networkmanager/system/ISystemIF.h"
#include "IFiles.h"
#include "IHints.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace networkhost {

/// A daemon, as `systemctl is-enabled` and `systemctl is-active` tell of it.
struct DaemonState
{
    std::string name;    // "systemd-networkd"
    std::string enabled; // "enabled", "disabled", "masked", ...; "not-found"
    std::string active;  // "active", "inactive", "failed", ...
};

/// A question to the network of an interface, whether somebody has an IPv4 address.
class IQuestion
{
public:
    virtual ~IQuestion() = default;

    /// Waits for the answer, that long at most.
    virtual bool isAnswered(std::chrono::milliseconds limit) = 0;
};

/// All that this library touches. There is the real one, and in tests a simulated one.
class IDevice
{
public:
    virtual ~IDevice() = default;

    virtual networkmanager::ISystemIF& system() = 0;
    virtual IFiles& files() = 0;

    /// On a clock that never goes back and begins with the boot.
    virtual std::chrono::milliseconds now() const = 0;

    /// Returns when that time has gone by on this clock.
    virtual void pause(std::chrono::milliseconds duration) = 0;

    /// Starts a process that guards the pending trial (see Guard.h), in one way after another until isUp() holds. False
    /// when it never did.
    virtual bool startGuard(const std::function<bool()>& isUp) = 0;

    /// Whether an unconfirmed trial is rolled back at the next boot.
    virtual bool hasBootGuard() = 0;

    /// systemd-networkd and systemd-resolved. Empty when systemd cannot be asked.
    virtual std::vector<DaemonState> daemons() { return {}; }

    /// Asks, and does not wait. `isOwn`: this device has the address; somebody else is meant. Empty without the right
    /// to ask.
    virtual std::unique_ptr<IQuestion> ask(const std::string& /*interfaceName*/, const std::string& /*address*/,
                                           bool /*isOwn*/)
    {
        return nullptr;
    }

    /// Empty for a device without hints. Throws std::system_error when there are no descriptors left.
    virtual std::unique_ptr<IHints> openHints() { return nullptr; }
};

} // namespace networkhost
