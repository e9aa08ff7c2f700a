// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/IpSettings.h"

#include <string>

/// What is wrong with a text that somebody typed, in a sentence: "the mask 255.0.255.0 is not contiguous". Empty when
/// the library accepts it. Thread-safe.
namespace networkhost {

std::string faultOfAddress(const std::string& address);
std::string faultOfMask(const std::string& mask);
std::string faultOfPrefixLength(const std::string& length);

/// For a static request; DHCP has no faults.
std::string faultOfSettings(const velbase2::nsa::common::IpSettings& settings);

/// For the "ADDRESS" or "ADDRESS/LENGTH" of a route.
std::string faultOfDestination(const std::string& destination);

/// For a text that reaches a file as it stands. Line feeds may be allowed.
std::string faultOfText(const std::string& text, bool allowsLineFeeds = false);

/// The text with control characters as "\x1b", for a terminal.
std::string printable(const std::string& text);

} // namespace networkhost
