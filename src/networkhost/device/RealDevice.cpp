// SPDX-License-Identifier: MIT
#include "networkhost/device/RealDevice.h"

#include "base/ExecuteCommand.h"
#include "base/Paths.h"
#include "base/ReadFile.h"
#include "networkhost/change/Record.h"
#include "networkhost/change/Trial.h"
#include "networkhost/device/RealHints.h"
#include "networkhost/device/RealNeighbours.h"
#include "networkhost/plan/DaemonHealth.h"
#include "networkmanager/system/SystemIF.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace networkhost {
namespace {

using velbase2::system::executeCommand;

bool isGood(const std::string& command)
{
    return executeCommand(command).returnCode == 0;
}

std::string shellWord(const std::string& word)
{
    std::string text;
    for (const char character : word) {
        text += character == '\'' ? "'\\''" : std::string(1, character);
    }
    return '\'' + text + '\'';
}

/// Whether the daemon runs and comes back after a reboot, as files show it: the usual case, without a process.
bool isPlainlyThere(const std::string& daemon)
{
    const auto unit = '/' + daemon + ".service";
    const auto isThere = [&unit](const std::string& directory, int flags) {
        return ::faccessat(AT_FDCWD, (directory + unit).c_str(), F_OK, flags) == 0;
    };
    const bool isWanted = isThere("/etc/systemd/system/multi-user.target.wants", 0) ||
                          isThere("/etc/systemd/system/sysinit.target.wants", 0);
    const bool isMaskedOrOther =
        isThere("/etc/systemd/system", AT_SYMLINK_NOFOLLOW) || isThere("/run/systemd/system", AT_SYMLINK_NOFOLLOW);
    std::string processes;
    return isWanted && !isMaskedOrOther &&
           !velbase2::system::readFile("/sys/fs/cgroup/system.slice" + unit + "/cgroup.procs", processes) &&
           !processes.empty();
}

/// For root, reads the configuration as networkhost does: the library's own way follows each link, and in a directory
/// of another user that may lead anywhere.
class RealSystem : public networkmanager::SystemIF
{
public:
    std::string readFile(const std::string& path) const override
    {
        const std::string_view directory = velbase2::system::paths::kNetworkDirectory;
        if (::geteuid() != 0 || path.compare(0, directory.size(), directory) != 0) {
            return SystemIF::readFile(path);
        }
        std::string text;
        files_.read(path, text);
        text.erase(std::remove(text.begin(), text.end(), '\n'), text.end());
        return text;
    }

private:
    RealFiles files_;
};

} // namespace

RealDevice::RealDevice(std::string velnetctl)
    : velnetctl_(std::move(velnetctl)), system_(std::make_unique<RealSystem>())
{}

std::chrono::milliseconds RealDevice::now() const
{
    ::timespec time = {};
    ::clock_gettime(CLOCK_BOOTTIME, &time); // goes on while the device sleeps
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::seconds(time.tv_sec) +
                                                                 std::chrono::nanoseconds(time.tv_nsec));
}

void RealDevice::pause(std::chrono::milliseconds duration)
{
    std::this_thread::sleep_for(duration);
}

bool RealDevice::startGuard()
{
    using std::chrono::seconds;
    if (waitForGuard(seconds(0))) {
        return true;
    }
    const bool isUnitActive = isGood("systemctl is-active --quiet velnet-guard.path"); // it has seen the record
    if (isUnitActive && waitForGuard(seconds(3))) {
        return true;
    }
    // As a unit of its own it survives that of the caller, and comes back when it is killed.
    const auto guard = shellWord(velnetctl_) + " guard";
    if (isGood("systemd-run --quiet --collect --property=Restart=on-failure " + guard) && waitForGuard(seconds(3))) {
        return true;
    }
    return isGood(guard + " --detach") && waitForGuard(seconds(5));
}

bool RealDevice::hasBootGuard()
{
    return executeCommand("systemctl is-enabled velnet-guard-boot.service").output ==
           "enabled\n"; // not for this boot only
}

std::vector<DaemonState> RealDevice::daemons()
{
    if (isPlainlyThere("systemd-networkd") && isPlainlyThere("systemd-resolved")) {
        return {{"systemd-networkd", "enabled", "active"}, {"systemd-resolved", "enabled", "active"}};
    }
    return parseDaemonStates(executeCommand("systemctl show --property=Id,LoadState,UnitFileState,ActiveState "
                                            "systemd-networkd systemd-resolved")
                                 .output);
}

std::unique_ptr<IQuestion> RealDevice::ask(const std::string& interfaceName, const std::string& address, bool isOwn)
{
    return (isOwn ? askForTwin : askForNeighbour)(interfaceName, address);
}

std::unique_ptr<IHints> RealDevice::openHints()
{
    try {
        return std::make_unique<RealHints>();
    } catch (const std::system_error& error) {
        errno = error.code().value();
        return nullptr;
    }
}

/// None is needed any more when the trial has ended.
bool RealDevice::waitForGuard(std::chrono::milliseconds limit)
{
    constexpr std::chrono::milliseconds kPause(10);
    const auto end = now() + limit;
    do {
        std::string holder;
        if (files_.probeLock(kGuardLock, holder) == std::errc::operation_would_block ||
            !trialState(*this).isPending()) {
            return true;
        }
        pause(kPause);
    } while (now() < end);
    return false;
}

} // namespace networkhost
