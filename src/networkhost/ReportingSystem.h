// SPDX-License-Identifier: MIT
#pragma once

#include "../networkmanager/system/SystemIF.h"
#include "Outcome.h"

#include <string>
#include <vector>

namespace networkhost {

/// A system interface over another one, which notes why a write or a command failed: the answer of the operations is
/// only false. One thread at a time changes settings through it.
class ReportingSystem : public networkmanager::SystemIF
{
public:
    using SystemIF::executeCmd;

    /// Both outlive it.
    ReportingSystem(networkmanager::ISystemIF& device, std::vector<Failure>& failures);

    std::vector<velbase2::nsa::common::structs::IpAddress>
    getAddresses(const std::string& interfaceName) const override;
    std::string readFile(const std::string& path) const override;
    bool writeToConfFile(const std::string& path, const std::string& content) override;
    bool executeCmd(const std::string& command, std::string& output, std::string& errorOutput) override;

private:
    networkmanager::ISystemIF& device_;
    std::vector<Failure>& failures_;
};

} // namespace networkhost
