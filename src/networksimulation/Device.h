// SPDX-License-Identifier: MIT
#pragma once

#include "../networkhost/device/IDevice.h"
#include "../networkhost/loop/Cells.h"
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

/// A device in memory: files, kernel, systemd-networkd and systemd-resolved, which take effect step by step on a clock
/// that stands still until it is advanced.
///
/// A new one has booted and settled: `local` has 192.168.10.1/24, `remote` the lease 192.168.50.100/24 with the router
/// and DNS server 192.168.50.1, both have their cables, and the host is called "device". There is at most one at a
/// time; the backend of networksimulation::NetworkManagerData and File read it. Thread-safe; a slot of a manager that
/// it watches may use it.
class Device : public networkhost::IDevice
{
public:
    Device();
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    ~Device() override;

    /// The one that there is. Throws std::logic_error without one.
    static Device& current();

    networkmanager::ISystemIF& system() override { return system_; }
    networkhost::IFiles& files() override { return files_; }
    std::chrono::milliseconds now() const override;
    void pause(std::chrono::milliseconds duration) override { advance(duration); }

    /// True, until removeGuards(). No guard runs by itself: networkhost::guardTrials() is one, on the caller's thread.
    bool startGuard(const std::function<bool()>& isUp) override;
    bool hasBootGuard() override;

    /// A wait on them advances the clock.
    std::unique_ptr<networkhost::IHints> openHints() override;

    std::vector<networkhost::DaemonState> daemons() override;

    /// A wait for an answer that does not come advances the clock.
    std::unique_ptr<networkhost::IQuestion> ask(const std::string& interfaceName, const std::string& address,
                                                bool isOwn) override;

    /// For a manager, which owns its system interface. The device outlives it.
    std::unique_ptr<networkmanager::ISystemIF> makeSystem();

    // Pieces of the device, for a test that puts something of its own over them. They live as long as the device.

    /// Hints(device.clock()) are the hints of this device.
    Clock& clock() { return clock_; }

    /// Files(device.disk()) are the files of this device.
    Disk& disk() { return disk_; }

    /// System(device.disk(), device.shell()) is the system interface of this device.
    Shell& shell() { return shell_; }

    // Time

    void advance(std::chrono::milliseconds duration);
    void advance(int milliseconds) { advance(std::chrono::milliseconds(milliseconds)); }

    /// Until the daemons have nothing left to do.
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

    /// An empty address: there is no server any more. It counts at the next restart or new link.
    void setDhcpServer(const std::string& interfaceName, const DhcpServer& server);

    /// Others in the network of the interface have, or do not have, this address. At first, the far ends have
    /// 192.168.10.2, 192.168.50.1 and 192.168.50.2.
    void addNeighbour(const std::string& interfaceName, const std::string& address);
    void removeNeighbour(const std::string& interfaceName, const std::string& address);

    /// By hand, as with "ip address add": "10.9.8.7/24". Throws std::invalid_argument for another text.
    void addAddress(const std::string& interfaceName, const std::string& address);

    // Files. These are no events.

    /// Empty when there is none. Below /sys, /proc and /run stands what kernel and daemons show, whatever is put there.
    std::string textOf(const std::string& path) const;
    void put(const std::string& path, const std::string& text);

    // Locks of files. False when somebody has it.

    bool lock(const std::string& path);
    void unlock(const std::string& path);

    // Faults, until repair()

    /// Writes to that path and its removal fail; `error` is an errno value.
    void failWrite(const std::string& path, int error);

    /// Commands that begin so do nothing and return 1, with these words on standard error.
    void failCommand(const std::string& command, const std::string& words);

    /// Restarts of the daemon, "systemd-networkd" or "systemd-resolved", return at once but take no effect. Throws
    /// std::invalid_argument for another name.
    void hang(const std::string& daemon);

    /// What systemd tells of the daemon. A masked one is not restarted; one that is not "enabled" is not there after a
    /// reboot. Throws std::invalid_argument for another name.
    void setDaemon(const std::string& daemon, const std::string& enabled, const std::string& active = "active");

    /// As on a device without the units of packaging/, and without velnetctl.
    void removeGuards();

    /// Ends all faults; what hung goes on.
    void repair();

    // Events

    /// What happened since the last call, in order.
    std::vector<Event> takeEvents();
    void note(const Event& event);

    /// From here on, what the manager's requestStatus and cells emit is noted as well. The device outlives the manager.
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
