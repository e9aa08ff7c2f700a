// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/IpAddress.h"
#include "../EthInterface.h"

#include <memory>
#include <string>
#include <vector>

namespace networkmanager {

/// Every access to files, commands and the kernel. A replacement may be given to the manager.
///
/// A failure is a result and never an exception: false, an empty text or an empty list.
/// The order of the operations is part of the interface: replacements in other binaries rely on it.
class ISystemIF
{
public:
    virtual ~ISystemIF() = default;

    virtual std::string getMacAddress(const std::string& interfaceName) const = 0;

    /// Installs the default route at once. On failure the route tool's error text replaces `errorMessage`.
    /// `gateway` becomes part of a shell command unchanged. The caller must have validated it.
    virtual bool checkSettingsGateway(const std::string& gateway, std::string& errorMessage) = 0;

    /// Removes the default route from the kernel.
    virtual bool deleteGateway() = 0;

    /// The gateway of the default route of the built-in interface that holds the gateway; empty when there is none.
    virtual std::string getGateway() const = 0;

    virtual std::string getHostname() const = 0;

    /// Whether the interface's main .network file asks for DHCP.
    virtual bool getDhcpUsed(const EthParams& params) const = 0;

    virtual std::vector<velbase2::nsa::common::structs::IpAddress>
    getAddresses(const std::string& interfaceName) const = 0;

    virtual bool getLink(const std::string& interfaceName) const = 0;
    virtual std::string getSpeed(const std::string& interfaceName) const = 0;
    virtual std::string getDuplex(const std::string& interfaceName) const = 0;

    /// Makes systemd-networkd read its files again. True when it was restarted.
    virtual bool reloadSettings() = 0;

    /// Makes systemd-resolved read its files again. True when it was restarted.
    virtual bool reloadResolveD() = 0;

    /// Replaces the whole content. Writers of one file take turns. True when the file could be opened for writing
    /// within a second, even if the write failed after that. Empty content is refused. After false, errno has the
    /// reason (EINVAL for empty content).
    virtual bool writeToConfFile(const std::string& path, const std::string& content) = 0;

    /// The lines of the file, joined without line ends. Empty when the file cannot be read.
    virtual std::string readFile(const std::string& path) const = 0;

    /// Runs a shell command. True when it returned 0. The second form replaces both texts in any case.
    virtual bool executeCmd(const std::string& command) = 0;
    virtual bool executeCmd(const std::string& command, std::string& output, std::string& errorOutput) = 0;
};

/// The system interface of the real device.
std::unique_ptr<ISystemIF> SystemIF_Factory();

} // namespace networkmanager
