// SPDX-License-Identifier: MIT
#pragma once

#include "../../networkmanager/system/SystemIF.h"
#include "../device/IDevice.h"
#include "Plan.h"

#include <optional>
#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// A system interface that reads from the device, and notes writes and commands in a plan instead of doing them.
class PlanningSystem : public networkmanager::SystemIF
{
public:
    using SystemIF::executeCmd;

    /// Both outlive it.
    PlanningSystem(IDevice& device, Plan& plan) : device_(device), plan_(plan) {}

    /// The present gateway for the operations, in place of the live one.
    void setGateway(const std::string& gateway) { gateway_ = gateway; }

    /// As if there were none, and any new one good: for one that the kernel has already and the files have not.
    void ignoreGateway()
    {
        gateway_ = "";
        isAnyGatewayGood_ = true;
    }

    std::vector<velbase2::nsa::common::structs::IpAddress>
    getAddresses(const std::string& interfaceName) const override;
    std::string readFile(const std::string& path) const override;
    std::string getGateway() const override;
    bool checkSettingsGateway(const std::string& gateway, std::string& errorMessage) override;
    bool deleteGateway() override;
    bool writeToConfFile(const std::string& path, const std::string& content) override;
    bool executeCmd(const std::string& command, std::string& output, std::string& errorOutput) override;

private:
    IDevice& device_;
    Plan& plan_;
    std::optional<std::string> gateway_;
    bool isAnyGatewayGood_ = false;
    bool mayFail_ = false;
};

} // namespace networkhost

#pragma GCC visibility pop
