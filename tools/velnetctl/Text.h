// SPDX-License-Identifier: MIT
#pragma once

#include "base/IpAddress.h"
#include "base/IpSettings.h"

#include <string>

/// What velnetctl prints for people.
namespace velnetctl {

enum class Color { Bold, Green, Red };

/// The text in the colour, where standard output is a terminal and NO_COLOR is not set; else the text.
std::string colored(Color color, const std::string& text);

/// "10.0.0.2/8"; without the prefix length when there is no valid mask.
std::string withPrefixLength(const std::string& address, const std::string& mask);
std::string addressText(const velbase2::nsa::common::structs::IpAddress& address);

/// "10.0.0.2/8", "DHCP", "10.0.0.2/8 by DHCP" or "none".
std::string settingsText(const velbase2::nsa::common::IpSettings& settings);

/// "none" for the empty text.
std::string orNone(const std::string& text);

} // namespace velnetctl
