// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/IpAddress.h"
#include "../../base/IpSettings.h"
#include "Configuration.h"

#include <string>
#include <vector>

/// The contents of cells and records for people. Thread-safe.
namespace networkhost {

/// "none" for the empty text.
std::string toText(const std::string& text);

/// "up" or "down".
std::string toText(bool isUp);
std::string toText(const char*) = delete; // it would count as a bool

/// "10.0.0.2/8", "DHCP", "10.0.0.2/8 by DHCP" or "none".
std::string toText(const velbase2::nsa::common::IpSettings& settings);

/// "10.0.0.2/8, fe80::1" or "none".
std::string toText(const std::vector<velbase2::nsa::common::structs::IpAddress>& addresses);

/// "10.0.0.2/8, 10.0.0.3/8, DHCP" or "none".
std::string toText(const ConfiguredInterface& iface);

/// "10.1.0.0/16 via 10.0.0.1".
std::string toText(const Route& route);

/// The texts with ", " between, or "none".
std::string toText(const std::vector<std::string>& texts);

} // namespace networkhost
