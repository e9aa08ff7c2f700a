// SPDX-License-Identifier: MIT
#include "networkmanager/system/SystemIF.h"

#include "base/ExecuteCommand.h"
#include "base/LogLine.h"
#include "base/Paths.h"
#include "base/ReadFile.h"
#include "base/WriteFile.h"
#include "networkmanager/BuiltInInterfaces.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace networkmanager {

namespace paths = velbase2::system::paths;

using velbase2::nsa::common::structs::IpAddress;
using velbase2::system::log::kError;
using velbase2::system::log::kFileProblem;
using velbase2::system::log::kNotable;
using velbase2::system::log::detail::logLine;

namespace {

constexpr const char* kRestartNetworkd = "sudo /bin/systemctl restart systemd-networkd";
constexpr const char* kRestartResolved = "sudo /bin/systemctl restart systemd-resolved";
constexpr const char* kReadUnitFiles = "sudo /bin/systemctl daemon-reload";
constexpr const char* kAddDefaultRoute = "route add default gw ";
constexpr const char* kFlushDefaultRoute = "ip route flush 0/0";

/// Reads one attribute of an interface from sysfs.
std::string readState(const SystemIF& system, const std::string& interfaceName, const char* attribute)
{
    return system.readFile(paths::kInterfaceStates + interfaceName + attribute);
}

} // namespace

std::string SystemIF::getMacAddress(const std::string& interfaceName) const
{
    return readState(*this, interfaceName, "/address");
}

bool SystemIF::checkSettingsGateway(const std::string& gateway, std::string& errorMessage)
{
    std::string output;
    std::string errorOutput;
    if (executeCmd(kAddDefaultRoute + gateway, output, errorOutput)) {
        return true;
    }
    if (!errorOutput.empty()) {
        errorOutput.pop_back(); // the line end
    }
    errorMessage = errorOutput;
    return false;
}

bool SystemIF::deleteGateway()
{
    logLine(kNotable, "delete default gateway");
    return executeCmd(kFlushDefaultRoute);
}

std::string SystemIF::getGateway() const
{
    // The built-in table decides, even if the manager's registry has other interfaces.
    const auto* const holder = std::find_if(kBuiltInInterfaces.begin(), kBuiltInInterfaces.end(),
                                            [](const BuiltInInterface& entry) { return entry.holdsGateway; });
    if (holder == kBuiltInInterfaces.end()) {
        return {};
    }
    return extractor_.getDefaultGateway(holder->name, readFile(paths::kRouteTable));
}

std::string SystemIF::getHostname() const
{
    return readFile(paths::kHostname);
}

bool SystemIF::getDhcpUsed(const EthParams& params) const
{
    return extractor_.getInterfaceDHCP(readFile(paths::ofInterface(params.networkFile)));
}

std::vector<IpAddress> SystemIF::getAddresses(const std::string& interfaceName) const
{
    return extractor_.getInterfaceAddresses(interfaceName);
}

bool SystemIF::getLink(const std::string& interfaceName) const
{
    return readState(*this, interfaceName, "/operstate") == "up";
}

std::string SystemIF::getSpeed(const std::string& interfaceName) const
{
    return readState(*this, interfaceName, "/speed");
}

std::string SystemIF::getDuplex(const std::string& interfaceName) const
{
    return readState(*this, interfaceName, "/duplex");
}

bool SystemIF::reloadSettings()
{
    return executeCmd(kReadUnitFiles) && executeCmd(kRestartNetworkd);
}

bool SystemIF::reloadResolveD()
{
    return executeCmd(kRestartResolved);
}

bool SystemIF::writeToConfFile(const std::string& path, const std::string& content)
{
    if (content.empty()) {
        logLine(kFileProblem, "Got empty config for file '", path, "'! Do not write empty config to filesystem");
        errno = EINVAL;
        return false;
    }
    logLine(kNotable, "Write '", content, "' into file '", path, "'");
    if (const auto failure = velbase2::system::writeFile(path, content)) {
        logLine(kFileProblem, "Can not write config file '", path, "'");
        errno = failure.value(); // the log sink may have changed it
        return false;
    }
    return true; // kept: also when the write failed later; then the daemon is restarted with the file as it is
}

std::string SystemIF::readFile(const std::string& path) const
{
    std::string text;
    velbase2::system::readFile(path, text);
    text.erase(std::remove(text.begin(), text.end(), '\n'), text.end());
    return text;
}

bool SystemIF::executeCmd(const std::string& command)
{
    std::string scratch;
    return executeCmd(command, scratch, scratch);
}

bool SystemIF::executeCmd(const std::string& command, std::string& output, std::string& errorOutput)
{
    const auto result = velbase2::system::executeCommand(command);
    if (result.returnCode != 0) {
        logLine(kError, "Error executing '", command, "' Returncode: ", result.returnCode);
    }
    output = result.output;
    errorOutput = result.errorOutput;
    return result.returnCode == 0;
}

std::unique_ptr<ISystemIF> SystemIF_Factory()
{
    return std::make_unique<SystemIF>();
}

} // namespace networkmanager
