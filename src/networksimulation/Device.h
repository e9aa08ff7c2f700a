// SPDX-License-Identifier: MIT
#pragma once

#include "../networkhost/device/IDevice.h"
#include "../networkhost/state/Cells.h"
#include "../networkhost/state/Text.h"
#include "Clock.h"
#include "Daemons.h"
#include "Disk.h"
#include "Event.h"
#include "EventLog.h"
#include "FarEnds.h"
#include "Faults.h"
#include "Files.h"
#include "Kernel.h"
#include "Schedule.h"
#include "Services.h"
#include "Shell.h"
#include "System.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace networksimulation {

/// A device in memory, for tests. It has files, a kernel, systemd-networkd and systemd-resolved, which take effect step
/// by step on a clock that stands still until it is advanced.
///
/// A new device has booted and settled. `local` has 192.168.10.1/24, and `remote` has the lease 192.168.50.100/24 with
/// the router and DNS server 192.168.50.1. Both have their cables, and the host is called "device".
///
/// There is at most one device at a time: networksimulation::NetworkManagerData and File read the one that there is.
/// Thread-safe. A slot of a manager that the device watches may use the device.
class Device : public networkhost::IDevice
{
public:
    Device();
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    ~Device() override;

    /// Returns the device that there is. Throws std::logic_error without one.
    static Device& current();

    networkmanager::ISystemIF& system() override { return system_; }
    networkhost::IFiles& files() override { return files_; }
    std::chrono::milliseconds now() const override;
    void pause(std::chrono::milliseconds duration) override { advance(duration); }

    /// These return true until removeGuards(). No guard runs by itself: networkhost::guardTrials() is one, on the
    /// caller's thread.
    bool startGuard(const std::function<bool()>& isUp) override;
    bool hasBootGuard() override;

    /// A wait for a hint advances the clock.
    std::unique_ptr<networkhost::IHints> openHints() override;

    std::vector<networkhost::DaemonState> daemons() override;

    /// A wait for an answer that does not come advances the clock.
    std::unique_ptr<networkhost::IQuestion> ask(const std::string& interfaceName, const std::string& address,
                                                bool isOwn) override;

    /// Makes a system interface for a manager, which owns it. The device outlives it.
    std::unique_ptr<networkmanager::ISystemIF> makeSystem();

    // The pieces under the seams are for a test that has a seam of its own. They live as long as the device.

    /// Hints(device.clock()) are the hints of this device.
    Clock& clock() { return clock_; }

    /// Files(device.disk()) are the files of this device.
    Disk& disk() { return disk_; }

    /// System(device.disk(), device.shell()) is the system interface of this device.
    Shell& shell() { return shell_; }

    // Time

    void advance(std::chrono::milliseconds duration);
    void advance(int milliseconds) { advance(std::chrono::milliseconds(milliseconds)); }

    /// Advances the clock until the daemons have nothing left to do.
    void settle();

    /// Rolls back a trial that was not confirmed, unless there are no guards, starts both daemons with the present
    /// files, and settles.
    void reboot();

    // Hardware and surroundings. Unknown names throw std::out_of_range.

    void plug(const std::string& interfaceName);
    void unplug(const std::string& interfaceName);

    /// The interface vanishes with its addresses, or comes back as new.
    void removeInterface(const std::string& interfaceName);
    void restoreInterface(const std::string& interfaceName);

    /// A server with an empty address takes the present server away. The change counts at the next restart of
    /// systemd-networkd or the next new link.
    void setDhcpServer(const std::string& interfaceName, const DhcpServer& server);

    /// Somebody else in the network of the interface has this address, or has it no longer. At first there are
    /// 192.168.10.2, 192.168.50.1 and 192.168.50.2.
    void addNeighbour(const std::string& interfaceName, const std::string& address);
    void removeNeighbour(const std::string& interfaceName, const std::string& address);

    /// Adds an address such as "10.9.8.7/24" by hand, as "ip address add" does. Throws std::invalid_argument for a text
    /// of another form.
    void addAddress(const std::string& interfaceName, const std::string& address);

    // Files. These calls are not noted as events.

    /// The text is empty when there is no file. The files in /sys, /proc and /run always show the simulated kernel and
    /// daemons: put() does not change them.
    std::string textOf(const std::string& path) const;
    void put(const std::string& path, const std::string& text);

    // Locks of files

    /// Returns false when the lock is already held.
    bool lock(const std::string& path);
    void unlock(const std::string& path);

    // Faults, which last until repair()

    /// Writes to that path and its removal fail with `error`, an errno value.
    void failWrite(const std::string& path, int error);

    /// Commands that begin with this text do nothing and return 1, with these words on standard error.
    void failCommand(const std::string& command, const std::string& words);

    /// Restarts of the daemon return at once but take no effect. The daemon is "systemd-networkd" or
    /// "systemd-resolved"; another name throws std::invalid_argument.
    void hang(const std::string& daemon);

    /// Sets what systemd tells of the daemon. A masked daemon is not restarted, and a daemon that is not "enabled" does
    /// not run after a reboot. Throws std::invalid_argument for another name.
    void setDaemon(const std::string& daemon, const std::string& enabled, const std::string& active = "active");

    /// Sets the version of systemd whose rules systemd-networkd follows when it reads its files. It is 252 at first.
    void setSystemdVersion(int version);

    /// The device is then like one without the units of packaging/ and without velnetctl.
    void removeGuards();

    /// Ends all faults. Restarts that hung take effect.
    void repair();

    // Events

    /// Returns what happened since the last call, in order.
    std::vector<Event> takeEvents();
    void note(const Event& event);

    /// From now on, everything that the manager's requestStatus and cells emit is noted as well. The device outlives
    /// the manager.
    template <class Manager>
    void watch(Manager& manager);

private:
    void showKernelAndDaemons();
    void changeLink(const std::string& interfaceName, bool hasChanged);

    Schedule schedule_;
    Clock clock_{schedule_};
    EventLog events_;
    Faults faults_;
    Disk disk_{faults_, events_, clock_};
    Files files_{disk_};
    int boots_ = 0;
    FarEnds farEnds_;
    Kernel kernel_;
    Networkd networkd_{kernel_, files_, farEnds_, schedule_};
    Resolved resolved_{files_, schedule_};
    Services services_{faults_, networkd_, resolved_};
    Shell shell_{faults_, kernel_, services_, events_, clock_};
    System system_{disk_, shell_};
};

template <class Manager>
void Device::watch(Manager& manager)
{
    manager.getSignals().requestStatus.connect([this](const std::string& status) { note(emitted(status)); });
    networkhost::connectToEachCell(manager, [this](const std::string& source, const char* cell, const auto& content) {
        note(published(source, cell, networkhost::toText(content)));
    });
}

} // namespace networksimulation
