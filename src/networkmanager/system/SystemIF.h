// SPDX-License-Identifier: MIT
#pragma once

#include "IPSettingsExtractor.h"
#include "ISystemIF.h"

#include <string>
#include <vector>

namespace networkmanager {

/// The real device. Uses files only through its own virtual readFile and writeToConfFile, and commands only through its
/// own virtual executeCmd. Therefore overriding these redirects all operations. Thread-safe.
class SystemIF : public ISystemIF
{
public:
    std::string getMacAddress(const std::string& interfaceName) const override;
    bool checkSettingsGateway(const std::string& gateway, std::string& errorMessage) override;
    bool deleteGateway() override;
    std::string getGateway() const override;
    std::string getHostname() const override;
    bool getDhcpUsed(const EthParams& params) const override;
    std::vector<velbase2::nsa::common::structs::IpAddress>
    getAddresses(const std::string& interfaceName) const override;
    bool getLink(const std::string& interfaceName) const override;
    std::string getSpeed(const std::string& interfaceName) const override;
    std::string getDuplex(const std::string& interfaceName) const override;
    bool reloadSettings() override;
    bool reloadResolveD() override;
    bool writeToConfFile(const std::string& path, const std::string& content) override;
    std::string readFile(const std::string& path) const override;
    bool executeCmd(const std::string& command) override;
    bool executeCmd(const std::string& command, std::string& output, std::string& errorOutput) override;

private:
    IPSettingsExtractor extractor_;
};

} // namespace networkmanager
