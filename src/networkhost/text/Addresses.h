// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// IPv4 addresses with prefix lengths, as text. Thread-safe.
namespace networkhost {

/// The number of one or two digits from 0 to 32; empty for any other text.
std::optional<int> parsePrefixLength(const std::string& text);

/// Whether the daemons read the text as an address: they know no leading zeros.
bool isCanonicalAddress(const std::string& text);

/// "10.0.0.5/8" of "10.0.0.5/8"; a lone address is one of 32 bits. Empty for any text that the daemons do not
/// understand.
std::optional<std::string> canonicalAddress(const std::string& text);

/// The same with the bits of the host cleared: "10.0.0.0/8".
std::optional<std::string> canonicalNetwork(const std::string& text);

/// The address as a number, 127.0.0.1 as 0x7F000001; 0 for what is none.
std::uint32_t addressBits(const std::string& address);

/// The address with the bits of the host cleared. "0.0.0.0" for what is no address or no mask.
std::string networkOf(const std::string& address, const std::string& mask);

/// "10.0.0.2/8" of an address and a dotted mask; the address alone without a valid mask.
std::string withPrefixLength(const std::string& address, const std::string& mask);

} // namespace networkhost
