// SPDX-License-Identifier: MIT
#include "networkhost/device/RealDevice.h"

#include "base/ExecuteCommand.h"
#include "base/Paths.h"
#include "networkhost/device/Clock.h"
#include "networkhost/device/DaemonStates.h"
#include "networkhost/device/RealFiles.h"
#include "networkhost/device/RealHints.h"
#include "networkhost/device/RealNeighbours.h"
#include "networkhost/text/Words.h"
#include "networkmanager/system/SystemIF.h"

#include <algorithm>
#include <set>
#include <thread>
#include <utility>

#include <ifaddrs.h>
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

bool hasMetStartLimit(const std::string& daemon)
{
    return executeCommand("systemctl show --property=Result --value " + daemon).output == "start-limit-hit\n";
}

/// For root, reads the configuration through RealFiles. libVelNetworkManager follows each symbolic link, and a link in
/// another user's directory may lead anywhere.
///
/// After many changes, systemd refuses to restart a daemon and leaves it dead. The start limit is then lifted.
class RealSystem : public networkmanager::SystemIF
{
public:
    using SystemIF::executeCmd;

    bool executeCmd(const std::string& command, std::string& output, std::string& errorOutput) override
    {
        if (SystemIF::executeCmd(command, output, errorOutput)) {
            return true;
        }
        for (const std::string daemon : {"systemd-networkd", "systemd-resolved"}) {
            std::string words;
            if (command == "sudo /bin/systemctl restart " + daemon && hasMetStartLimit(daemon) &&
                SystemIF::executeCmd("sudo /bin/systemctl reset-failed " + daemon, words, words)) {
                return SystemIF::executeCmd(command, output, errorOutput);
            }
        }
        return false;
    }

    std::string readFile(const std::string& path) const override
    {
        if (::geteuid() != 0 || !startsWith(path, velbase2::system::paths::kNetworkDirectory)) {
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

/// The labels of addresses, such as "remote:a" for the interface "remote".
std::set<std::string> labelsOf(const std::string& interfaceName)
{
    std::set<std::string> labels;
    ifaddrs* first = nullptr;
    if (::getifaddrs(&first) != 0) {
        return labels;
    }
    for (const auto* entry = first; entry != nullptr; entry = entry->ifa_next) {
        if (startsWith(entry->ifa_name, interfaceName + ':')) {
            labels.insert(entry->ifa_name);
        }
    }
    ::freeifaddrs(first);
    return labels;
}

} // namespace

RealDevice::RealDevice(std::string velnetctl)
    : velnetctl_(std::move(velnetctl)), system_(std::make_unique<RealSystem>()), files_(std::make_unique<RealFiles>())
{}

std::chrono::milliseconds RealDevice::now() const
{
    return timeSinceBoot();
}

void RealDevice::pause(std::chrono::milliseconds duration)
{
    std::this_thread::sleep_for(duration);
}

bool RealDevice::startGuard(const std::function<bool()>& isUp)
{
    using std::chrono::seconds;
    if (isUp()) {
        return true;
    }
    // An active path unit has seen the record and starts the guard.
    const bool isUnitActive = isGood("systemctl is-active --quiet velnet-guard.path");
    if (isUnitActive && waitUntilUp(isUp, seconds(3))) {
        return true;
    }
    // A guard with a unit of its own survives the unit of the caller, and systemd restarts it when it is killed.
    const auto guard = shellWord(velnetctl_) + " guard";
    if (isGood("systemd-run --quiet --collect --property=Restart=on-failure " + guard) &&
        waitUntilUp(isUp, seconds(3))) {
        return true;
    }
    return isGood(guard + " --detach") && waitUntilUp(isUp, seconds(5));
}

bool RealDevice::hasBootGuard()
{
    return executeCommand("systemctl is-enabled velnet-guard-boot.service").output ==
           "enabled\n"; // "enabled-runtime" would last only for this boot
}

std::vector<velbase2::nsa::common::structs::IpAddress> RealDevice::addressesOf(const std::string& interfaceName)
{
    auto addresses = system_->getAddresses(interfaceName);
    for (const auto& label : labelsOf(interfaceName)) {
        const auto labelled = system_->getAddresses(label); // getifaddrs() reports such an address under its label
        addresses.insert(addresses.end(), labelled.begin(), labelled.end());
    }
    return addresses;
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
    return std::make_unique<RealHints>();
}

bool RealDevice::waitUntilUp(const std::function<bool()>& isUp, std::chrono::milliseconds limit)
{
    constexpr std::chrono::milliseconds kPause(10);
    const auto end = now() + limit;
    while (!isUp()) {
        if (now() >= end) {
            return false;
        }
        pause(kPause);
    }
    return true;
}

} // namespace networkhost
