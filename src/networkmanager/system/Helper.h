// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/IpAddress.h"
#include "../../base/IpSettings.h"

#include <string>
#include <vector>

#include <sys/socket.h>

/// Kernel data to text. Thread-safe.
namespace networkmanager::helper {

/// The dotted address of an AF_INET socket address.
std::string ip2str(const sockaddr* address);

/// The first six bytes as upper-case hexadecimal pairs joined by colons.
std::string mac2str(const sockaddr& hardwareAddress);

/// Also true for the empty text.
bool isHexString(const std::string& text);

/// The dotted address of a field of /proc/net/route: eight hexadecimal digits, a number in the host's byte order.
/// Empty for any other text.
std::string hex2ip(const std::string& hexText);

/// An IPv4 address whose text does not begin with "169.254".
bool isIpv4AndNotApipa(const velbase2::nsa::common::structs::IpAddress& address);

/// Returns settings with `ip` and `mask` of the first address for which isIpv4AndNotApipa() is true. Without such an
/// address they are empty. The other fields have their default values.
velbase2::nsa::common::IpSettings
getIpSettingsWithFirstIpv4(const std::vector<velbase2::nsa::common::structs::IpAddress>& addresses);

} // namespace networkmanager::helper
