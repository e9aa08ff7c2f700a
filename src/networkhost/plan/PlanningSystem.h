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

/// A system interface that reads from the device. It notes writes and commands in a plan instead of running them.
class PlanningSystem : public networkmanager::SystemIF
{
public:
    using SystemIF::executeCmd;

    /// Both arguments outlive the object.
    PlanningSystem(IDevice& device, Plan& plan) : device_(device), plan_(plan) {}

    /// Makes the operations see this gateway instead of the live one.
    void setGateway(const std::string& gateway) { gateway_ = gateway; }

    /// Makes the operations see no gateway, and accept any new one. This serves for a gateway that is live already but
    /// is not in the files.
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
