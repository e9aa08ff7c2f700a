// SPDX-License-Identifier: MIT
#pragma once

#include "../networkmanager/system/SystemIF.h"

#include <string>
#include <vector>

namespace networksimulation {

class Device;

/// The real system interface, with the simulated device below it: what it makes of files and commands is the library's
/// own. Logs neither writes nor failed commands.
class System : public networkmanager::SystemIF
{
public:
    using SystemIF::executeCmd;

    explicit System(Device& device) : device_(device) {}

    std::vector<velbase2::nsa::common::structs::IpAddress>
    getAddresses(const std::string& interfaceName) const override;
    std::string readFile(const std::string& path) const override;
    bool writeToConfFile(const std::string& path, const std::string& content) override;
    bool executeCmd(const std::string& command, std::string& output, std::string& errorOutput) override;

private:
    Device& device_;
};

} // namespace networksimulation
