// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// Texts of IPv4 addresses. Thread-safe.
namespace networkhost {

/// Stands for "none" in a request: no gateway, no DNS server.
inline constexpr const char* kNoAddress = "0.0.0.0";

/// The number of one or two digits from 0 to 32; empty for any other text.
std::optional<int> parsePrefixLength(const std::string& text);

/// Whether the daemons read the text as an address: they know no leading zeros.
bool isCanonicalAddress(const std::string& text);

/// The address as a number, 127.0.0.1 as 0x7F000001; 0 for what is none.
std::uint32_t addressBits(const std::string& address);

/// "10.0.0.2/8" of an address and a dotted mask; the address alone without a valid mask.
std::string withPrefixLength(const std::string& address, const std::string& mask);

} // namespace networkhost
