// SPDX-License-Identifier: MIT
#pragma once

#include "networkmanager/system/SystemIF.h"

#include <string>
#include <vector>

namespace velnetctl {

/// The real device, which notes why a write or a command failed: the library's own answer is only false.
class ReportingSystem : public networkmanager::SystemIF
{
public:
    using SystemIF::executeCmd;

    /// `failures` outlives the system.
    explicit ReportingSystem(std::vector<std::string>& failures) : failures_(failures) {}

    bool writeToConfFile(const std::string& path, const std::string& content) override;
    bool executeCmd(const std::string& command, std::string& output, std::string& errorOutput) override;

private:
    std::vector<std::string>& failures_;
};

} // namespace velnetctl
