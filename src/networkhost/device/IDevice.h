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

/// A daemon, in the words of `systemctl is-enabled` and `systemctl is-active`.
struct DaemonState
{
    std::string name;    // "systemd-networkd"
    std::string enabled; // "enabled", "disabled", "masked", ...; "not-found"
    std::string active;  // "active", "inactive", "failed", ...
};

/// Asks over an interface whether another device has an IPv4 address.
class IQuestion
{
public:
    virtual ~IQuestion() = default;

    /// Waits for the answer, at most `limit`. True when there was one.
    virtual bool isAnswered(std::chrono::milliseconds limit) = 0;
};

/// Everything outside this process that the library touches. RealDevice is the device on which the process runs;
/// networksimulation::Device is one in memory, for tests:
///
///     bool setAddress(networkhost::IDevice& device); // the same code for both
///
///     networkhost::RealDevice real;
///     networksimulation::Device simulated;
///     setAddress(real);
///     setAddress(simulated);
///
/// A RealDevice may be used by several threads at once. Each implementation says whether that holds for it.
class IDevice
{
public:
    virtual ~IDevice() = default;

    /// The kernel's state and the commands; it lives as long as the device.
    virtual networkmanager::ISystemIF& system() = 0;

    /// The files; they live as long as the device.
    virtual IFiles& files() = 0;

    /// The time since the boot, on a clock that never goes back.
    virtual std::chrono::milliseconds now() const = 0;

    /// Returns when that time has gone by on this clock.
    virtual void pause(std::chrono::milliseconds duration) = 0;

    /// Starts a process that guards the pending trial (see Guard.h). Tries several ways until isUp() is true, and
    /// returns false when none of them worked.
    virtual bool startGuard(const std::function<bool()>& isUp) = 0;

    /// Whether an unconfirmed trial is rolled back at the next boot.
    virtual bool hasBootGuard() = 0;

    /// The addresses of an interface in the kernel's order, and after them those with a label such as "remote:a".
    virtual std::vector<velbase2::nsa::common::structs::IpAddress> addressesOf(const std::string& interfaceName)
    {
        return system().getAddresses(interfaceName);
    }

    /// systemd-networkd and systemd-resolved. Empty when systemd cannot be asked.
    virtual std::vector<DaemonState> daemons() { return {}; }

    /// Asks without waiting. Pass `isOwn` when this device has the address, too: the question is then whether another
    /// device has it as well. Null without the right to ask.
    virtual std::unique_ptr<IQuestion> ask(const std::string& /*interfaceName*/, const std::string& /*address*/,
                                           bool /*isOwn*/)
    {
        return nullptr;
    }

    /// Null for a device without hints. Throws std::system_error when there are no descriptors left.
    virtual std::unique_ptr<IHints> openHints() { return nullptr; }
};

} // namespace networkhost
