// SPDX-License-Identifier: MIT
#pragma once

#include "../networkmanager/system/SystemIF.h"
#include "Disk.h"
#include "Shell.h"

#include <string>
#include <vector>

namespace networksimulation {

/// The real system interface over the disk and the shell of a simulated device. The library's own code decides which
/// files are read and how they are understood. Neither writes nor failed commands are logged.
class System : public networkmanager::SystemIF
{
public:
    using SystemIF::executeCmd;

    /// Both outlive the system interface.
    System(Disk& disk, Shell& shell) : disk_(disk), shell_(shell) {}

    std::vector<velbase2::nsa::common::structs::IpAddress>
    getAddresses(const std::string& interfaceName) const override;
    std::string readFile(const std::string& path) const override;
    bool writeToConfFile(const std::string& path, const std::string& content) override;
    bool executeCmd(const std::string& command, std::string& output, std::string& errorOutput) override;

private:
    Disk& disk_;
    Shell& shell_;
};

} // namespace networksimulation
