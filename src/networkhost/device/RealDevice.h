// SPDX-License-Identifier: MIT
#pragma once

#include "../../networkmanager/system/ISystemIF.h"
#include "IDevice.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace networkhost {

/// The device that the process runs on. Thread-safe.
class RealDevice : public IDevice
{
public:
    /// `velnetctl`: the program to run as a guard where systemd has none; looked for in PATH when it is no path.
    explicit RealDevice(std::string velnetctl = "velnetctl");

    networkmanager::ISystemIF& system() override { return *system_; }
    IFiles& files() override { return *files_; }
    std::chrono::milliseconds now() const override;
    void pause(std::chrono::milliseconds duration) override;
    bool startGuard(const std::function<bool()>& isUp) override;
    bool hasBootGuard() override;
    std::vector<velbase2::nsa::common::structs::IpAddress> addressesOf(const std::string& interfaceName) override;
    std::vector<DaemonState> daemons() override;
    std::unique_ptr<IQuestion> ask(const std::string& interfaceName, const std::string& address, bool isOwn) override;
    std::unique_ptr<IHints> openHints() override;

private:
    bool waitUntilUp(const std::function<bool()>& isUp, std::chrono::milliseconds limit);

    std::string velnetctl_;
    std::unique_ptr<networkmanager::ISystemIF> system_;
    std::unique_ptr<IFiles> files_;
};

} // namespace networkhost
