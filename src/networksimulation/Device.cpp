// SPDX-License-Identifier: MIT
#include "networksimulation/Device.h"

#include "base/Paths.h"
#include "networkhost/change/Guard.h"
#include "networksimulation/FactoryState.h"
#include "networksimulation/Hints.h"
#include "networksimulation/Question.h"

#include <stdexcept>

namespace networksimulation {

namespace paths = velbase2::system::paths;

namespace {

Device* theDevice = nullptr; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables): a loader has to find it

} // namespace

Device::Device()
{
    if (theDevice != nullptr) {
        throw std::logic_error("there is a simulated device already");
    }
    setFactoryState(kernel_, disk_, farEnds_);
    showKernelAndDaemons();
    theDevice = this;
    reboot();
}

void Device::showKernelAndDaemons()
{
    disk_.show(paths::kRouteTable, [this](const std::string&) { return kernel_.routeTable(); });
    disk_.show(paths::kInterfaceStates, [this](const std::string& rest) {
        const auto slash = rest.find('/');
        return slash == std::string::npos ? std::string()
                                          : kernel_.attribute(rest.substr(0, slash), rest.substr(slash + 1));
    });
    disk_.show(paths::kLeases, [this](const std::string& index) { return networkd_.leaseFile(index); });
    disk_.show(paths::kLinks, [this](const std::string& index) { return networkd_.linkFile(index); });
    disk_.show(paths::kResolverState,
               [this](const std::string&) { return resolved_.resolvConf(networkd_.leasedDnsServers()); });
}

Device::~Device()
{
    theDevice = nullptr;
}

Device& Device::current()
{
    if (theDevice == nullptr) {
        throw std::logic_error("there is no simulated device");
    }
    return *theDevice;
}

std::unique_ptr<networkmanager::ISystemIF> Device::makeSystem()
{
    return std::make_unique<System>(disk_, shell_);
}

std::chrono::milliseconds Device::now() const
{
    return clock_.now();
}

std::unique_ptr<networkhost::IHints> Device::openHints()
{
    return std::make_unique<Hints>(clock_);
}

void Device::advance(std::chrono::milliseconds duration)
{
    clock_.advance(duration);
}

void Device::settle()
{
    clock_.settle();
}

void Device::reboot()
{
    const auto held = clock_.hold();
    disk_.put(paths::kBootMark, "boot " + std::to_string(++boots_) + '\n');
    if (faults_.hasGuards()) {
        networkhost::restoreAtBoot(*this, [](const std::string&) {});
    }
    services_.boot();
    settle();
}

void Device::changeLink(const std::string& interfaceName, bool hasChanged)
{
    if (hasChanged) {
        networkd_.linkChanged(interfaceName);
        clock_.hint();
    }
}

void Device::plug(const std::string& interfaceName)
{
    const auto held = clock_.hold();
    changeLink(interfaceName, kernel_.setCable(interfaceName, true));
}

void Device::unplug(const std::string& interfaceName)
{
    const auto held = clock_.hold();
    changeLink(interfaceName, kernel_.setCable(interfaceName, false));
}

void Device::removeInterface(const std::string& interfaceName)
{
    const auto held = clock_.hold();
    changeLink(interfaceName, kernel_.setPresent(interfaceName, false));
}

void Device::restoreInterface(const std::string& interfaceName)
{
    const auto held = clock_.hold();
    changeLink(interfaceName, kernel_.setPresent(interfaceName, true));
}

void Device::setDhcpServer(const std::string& interfaceName, const DhcpServer& server)
{
    const auto held = clock_.hold();
    static_cast<void>(kernel_.interfaces.at(interfaceName)); // throws for an unknown one
    farEnds_.setDhcpServer(interfaceName, server);
}

void Device::addNeighbour(const std::string& interfaceName, const std::string& address)
{
    const auto held = clock_.hold();
    farEnds_.addNeighbour(interfaceName, address);
}

void Device::removeNeighbour(const std::string& interfaceName, const std::string& address)
{
    const auto held = clock_.hold();
    farEnds_.removeNeighbour(interfaceName, address);
}

void Device::addAddress(const std::string& interfaceName, const std::string& address)
{
    const auto held = clock_.hold();
    kernel_.addAddress(interfaceName, address);
    clock_.hint();
}

std::string Device::textOf(const std::string& path) const
{
    return disk_.read(path).value_or("");
}

void Device::put(const std::string& path, const std::string& text)
{
    disk_.put(path, text);
}

bool Device::lock(const std::string& path)
{
    return disk_.lock(path);
}

void Device::unlock(const std::string& path)
{
    disk_.unlock(path);
}

void Device::failWrite(const std::string& path, int error)
{
    const auto held = clock_.hold();
    faults_.failWrite(path, error);
}

void Device::failCommand(const std::string& command, const std::string& words)
{
    const auto held = clock_.hold();
    faults_.failCommand(command, words);
}

void Device::hang(const std::string& daemon)
{
    const auto held = clock_.hold();
    faults_.hang(services_.state(daemon).name);
}

void Device::setDaemon(const std::string& daemon, const std::string& enabled, const std::string& active)
{
    const auto held = clock_.hold();
    services_.state(daemon) = {daemon, enabled, active};
}

void Device::setSystemdVersion(int version)
{
    disk_.put(paths::kNetworkd, "libsystemd-shared-" + std::to_string(version) + ".so");
}

std::vector<networkhost::DaemonState> Device::daemons()
{
    const auto held = clock_.hold();
    return services_.states();
}

std::unique_ptr<networkhost::IQuestion> Device::ask(const std::string& interfaceName, const std::string& address,
                                                    bool /*isOwn*/)
{
    const auto held = clock_.hold();
    const bool isThere = kernel_.interfaces.at(interfaceName).hasCable && farEnds_.hasNeighbour(interfaceName, address);
    return std::make_unique<Question>(clock_, isThere);
}

void Device::removeGuards()
{
    const auto held = clock_.hold();
    faults_.removeGuards();
}

bool Device::startGuard(const std::function<bool()>& /*isUp*/)
{
    const auto held = clock_.hold();
    return faults_.hasGuards();
}

bool Device::hasBootGuard()
{
    const auto held = clock_.hold();
    return faults_.hasGuards();
}

void Device::repair()
{
    const auto held = clock_.hold();
    const auto waiting = faults_.repair();
    services_.repair();
    for (const auto& daemon : waiting) {
        services_.restart(daemon);
    }
}

std::vector<Event> Device::takeEvents()
{
    const auto held = clock_.hold();
    return events_.take();
}

void Device::note(const Event& event)
{
    const auto held = clock_.hold();
    events_.note(event);
}

} // namespace networksimulation
