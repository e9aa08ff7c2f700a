// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/IpSettings.h"

#include <string>

/// The text of an interface's main .network file, and scanners for the output of address and route tools. Thread-safe.
namespace networkmanager::confighandler {

/// True with DHCP, or when `ip` and `mask` are valid.
bool ipSettingsValid(const velbase2::nsa::common::IpSettings& settings);

/// The lines of an internal communication interface.
std::string getIntComIfConf();

/// The Match section, and the header of the Network section.
std::string getHeader(std::string name);

/// A Route section. It is empty when the gateway is "0.0.0.0" or not a valid address.
std::string getGatewayConfig(const std::string& gateway);

/// The complete file. It is empty when the settings are not valid. With DHCP, the gateway is written as well. The
/// address 0.0.0.0 is not written.
std::string createConfig(const std::string& name, const velbase2::nsa::common::IpSettings& settings,
                         const std::string& gateway, bool intComIf);

/// The text after "default via " up to the next blank, in the first line that has it. Empty without such a line.
std::string parseGateway(const std::string& text);

/// The text between "inet " and "/", in the first line that has "inet " before its first "/". In a line without "/",
/// the text goes up to the end of the line. Empty without such a line.
std::string parseIpAddr(const std::string& text);

/// Whether a line has both "inet " and "dynamic".
bool parseDhcp(const std::string& text);

/// The dotted mask of the prefix length in the first line that has "inet ". Empty without such a line. A prefix length
/// that is not a number counts as 24. Without a prefix length, the first number of the address is taken.
std::string parseSubnetMask(const std::string& text);

} // namespace networkmanager::confighandler
