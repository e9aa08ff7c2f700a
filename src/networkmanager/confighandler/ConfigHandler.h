// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/IpSettings.h"

#include <string>

/// The text of an interface's main .network file, and scanners for the output of address and route tools. Thread-safe.
namespace networkmanager::confighandler {

/// True with DHCP, else when `ip` and `mask` are valid.
bool ipSettingsValid(const velbase2::nsa::common::IpSettings& settings);

/// The lines of an internal communication interface.
std::string getIntComIfConf();

/// The Match section, and the header of the Network section.
std::string getHeader(std::string name);

/// A Route section; empty when cleanupIP makes "0.0.0.0" of the gateway.
std::string getGatewayConfig(const std::string& gateway);

/// The complete file. Empty when the settings are not valid. The gateway is written with DHCP too; no address line is
/// written for 0.0.0.0.
std::string createConfig(const std::string& name, const velbase2::nsa::common::IpSettings& settings,
                         const std::string& gateway, bool intComIf);

/// The text between "default via " and the next blank, in the first line that has it; empty without one.
std::string parseGateway(const std::string& text);

/// The text between "inet " and "/", in the first line that has "inet " before its first "/"; up to the end of the line
/// when it has no "/". Empty without such a line.
std::string parseIpAddr(const std::string& text);

/// Whether a line has both "inet " and "dynamic".
bool parseDhcp(const std::string& text);

/// The dotted mask of the prefix length in the first line that has "inet "; empty without one. A prefix that is no
/// number counts as 24, and an address without prefix yields its first number as the length.
std::string parseSubnetMask(const std::string& text);

} // namespace networkmanager::confighandler
