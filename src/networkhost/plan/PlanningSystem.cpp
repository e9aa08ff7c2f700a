// SPDX-License-Identifier: MIT
#include "networkhost/plan/PlanningSystem.h"

#include <system_error>

namespace networkhost {

std::vector<velbase2::nsa::common::structs::IpAddress>
PlanningSystem::getAddresses(const std::string& interfaceName) const
{
    return device_.system().getAddresses(interfaceName);
}

std::string PlanningSystem::readFile(const std::string& path) const
{
    return device_.system().readFile(path);
}

std::string PlanningSystem::getGateway() const
{
    return gateway_ ? *gateway_ : SystemIF::getGateway();
}

bool PlanningSystem::checkSettingsGateway(const std::string& gateway, std::string& errorMessage)
{
    return isAnyGatewayGood_ || SystemIF::checkSettingsGateway(gateway, errorMessage);
}

bool PlanningSystem::deleteGateway()
{
    mayFail_ = true; // there may be no gateway to delete
    const bool isDone = SystemIF::deleteGateway();
    mayFail_ = false;
    return isDone;
}

bool PlanningSystem::writeToConfFile(const std::string& path, const std::string& content)
{
    if (content.empty()) {
        // libVelNetworkManager returns an empty text for settings without an address.
        plan_.failures.push_back({Failure::Step::WriteFile, path, std::make_error_code(std::errc::invalid_argument),
                                  "there is no IPv4 address to keep"});
        return false;
    }
    std::string text;
    const auto error = device_.files().read(path, text);
    if (error && error != std::errc::no_such_file_or_directory) {
        plan_.failures.push_back({Failure::Step::ReadFile, path, error, {}});
        return false;
    }
    plan_.files.push_back({path, error ? std::nullopt : std::optional(text), content});
    return true;
}

bool PlanningSystem::executeCmd(const std::string& command, std::string& /*output*/, std::string& /*errorOutput*/)
{
    (plan_.files.empty() ? plan_.preparations : plan_.activations).push_back({command, mayFail_});
    return true;
}

} // namespace networkhost
