// SPDX-License-Identifier: MIT
#pragma once

#include "../base/IpSettings.h"

#include <string>

/// What is wrong with a text that somebody typed, in a sentence: "the mask 255.0.255.0 is not contiguous". Empty when
/// the library accepts it. Thread-safe.
namespace networkhost {

std::string faultOfAddress(const std::string& address);
std::string faultOfMask(const std::string& mask);
std::string faultOfPrefixLength(const std::string& length);

/// Of a static request; DHCP has none.
std::string faultOfSettings(const velbase2::nsa::common::IpSettings& settings);

/// Of a route's "ADDRESS" or "ADDRESS/LENGTH".
std::string faultOfDestination(const std::string& destination);

/// Of a text that reaches a file as it stands. Line feeds may be allowed.
std::string faultOfText(const std::string& text, bool allowsLineFeeds = false);

/// The text with control characters as "\x1b", for a terminal.
std::string printable(const std::string& text);

} // namespace networkhost
