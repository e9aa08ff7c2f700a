// SPDX-License-Identifier: MIT
#include "networkhost/ReportingSystem.h"

#include <cerrno>

namespace networkhost {
namespace {

std::string withoutFinalLineEnds(std::string text)
{
    text.erase(text.find_last_not_of('\n') + 1);
    return text;
}

} // namespace

ReportingSystem::ReportingSystem(networkmanager::ISystemIF& device, std::vector<Failure>& failures)
    : device_(device), failures_(failures)
{}

std::vector<velbase2::nsa::common::structs::IpAddress>
ReportingSystem::getAddresses(const std::string& interfaceName) const
{
    return device_.getAddresses(interfaceName);
}

std::string ReportingSystem::readFile(const std::string& path) const
{
    return device_.readFile(path);
}

bool ReportingSystem::writeToConfFile(const std::string& path, const std::string& content)
{
    const bool isWritten = device_.writeToConfFile(path, content);
    if (!isWritten) {
        const std::error_code error(errno, std::generic_category());
        // The library makes an empty text of settings without an address.
        failures_.push_back(
            {Failure::Step::WriteFile, path, error, content.empty() ? "there is no IPv4 address to keep" : ""});
    }
    return isWritten;
}

bool ReportingSystem::executeCmd(const std::string& command, std::string& output, std::string& errorOutput)
{
    const bool isDone = device_.executeCmd(command, output, errorOutput);
    if (!isDone) {
        failures_.push_back({Failure::Step::RunCommand, command, {}, withoutFinalLineEnds(errorOutput)});
    }
    return isDone;
}

} // namespace networkhost
