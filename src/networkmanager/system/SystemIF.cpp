// SPDX-License-Identifier: MIT
#include "networkmanager/system/SystemIF.h"

#include "base/ExecuteCommand.h"
#include "base/FileDescriptor.h"
#include "base/LogLine.h"
#include "base/Paths.h"
#include "base/ReadFile.h"
#include "networkmanager/BuiltInInterfaces.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace networkmanager {

namespace paths = velbase2::system::paths;

using velbase2::nsa::common::structs::IpAddress;
using velbase2::system::FileDescriptor;
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

/// The path of a file in the interface's directory of the kernel's state.
std::string statePath(const std::string& interfaceName, const char* attribute)
{
    return paths::kInterfaceStates + interfaceName + attribute;
}

/// Opens the file empty, creating it if need be. -1 on failure.
int openEmpty(const std::string& path)
{
    const int existing = ::open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (existing >= 0 || errno != ENOENT) {
        return existing;
    }
    constexpr mode_t kMode = 0644; // the daemons do not run as root and must read it
    const int created = ::open(path.c_str(), O_WRONLY | O_TRUNC | O_CREAT | O_CLOEXEC, kMode);
    if (created >= 0) {
        ::fchmod(created, kMode); // whatever the host's umask
    }
    return created;
}

/// In a host without standard streams: what others print must not land in the file.
int openForReplacement(const std::string& path)
{
    return velbase2::system::atLeast(STDERR_FILENO + 1, openEmpty(path));
}

void writeAll(int fd, std::string_view content)
{
    while (!content.empty()) {
        const ssize_t count = ::write(fd, content.data(), content.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return;
        }
        content.remove_prefix(static_cast<std::size_t>(count));
    }
}

} // namespace

std::string SystemIF::getMacAddress(const std::string& interfaceName) const
{
    return readFile(statePath(interfaceName, "/address"));
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
    // The built-in table decides, whatever the manager's registry holds.
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
    return readFile(statePath(interfaceName, "/operstate")) == "up";
}

std::string SystemIF::getSpeed(const std::string& interfaceName) const
{
    return readFile(statePath(interfaceName, "/speed"));
}

std::string SystemIF::getDuplex(const std::string& interfaceName) const
{
    return readFile(statePath(interfaceName, "/duplex"));
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
        return false;
    }
    logLine(kNotable, "Write '", content, "' into file '", path, "'");
    const FileDescriptor file(openForReplacement(path));
    if (!file.isOpen()) {
        logLine(kFileProblem, "Can not write config file '", path, "'");
        return false;
    }
    // The result says only that the file could be opened, on purpose: callers go on to restart the daemon then.
    writeAll(file.get(), content);
    return true;
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
