// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

/// IPv4 texts. A valid address has four decimal octets of one to three digits and nothing else. An octet may have a
/// leading zero only if it is the same number in octal (007, but neither 010 nor 08), because some tools read such text
/// as octal. Thread-safe.
namespace velbase2::system::iphelper {

/// The dotted text of an address in host byte order.
std::string dotted(std::uint32_t address);

/// The canonical dotted text of a valid address, "0.0.0.0" for any other text.
std::string cleanupIP(const std::string& address);

bool isValidIp(const std::string& address);

/// True for a valid address whose one bits are contiguous from the left, 0.0.0.0 and 255.255.255.255 included.
bool isValidMask(const std::string& mask);

/// True for 0 to 32.
bool isValidMask(int prefixLength);

/// The dotted mask of a prefix length; empty outside 0 to 32.
std::string subnetBitsToMask(int prefixLength);

/// The number at the start of the text, by the rules of std::stoi: "+24abc" after blanks is 24. Returns `ifNone` for a
/// text without a number, and `ifBeyondInt` for a number that no int can hold.
int leadingNumber(const std::string& text, int ifNone, int ifBeyondInt);

/// The prefix length of a dotted mask; -1 when it is not valid.
int subnetMaskToBits(const std::string& mask);

} // namespace velbase2::system::iphelper
