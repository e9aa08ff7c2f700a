// SPDX-License-Identifier: MIT
#pragma once

#include "NetworkAddress.h"

#include <cstdint>
#include <optional>
#include <string>

#pragma GCC visibility push(hidden)

/// Values as systemd's daemons read them in their files. Thread-safe.
namespace networkhost {

/// "yes", "Y", "true", "t", "On", "1", and their opposites.
std::optional<bool> daemonBool(const std::string& text);

/// "24", "+24", "0x18", "030", "0b11000", "0o30".
std::optional<std::uint32_t> daemonNumber(const std::string& text);

struct DaemonAddress
{
    NetworkAddress address; // with the length 32 when the text has none
    bool hasLength = false;
};

/// IPv4 with or without a prefix length. Unlike the length, the address has no leading zeros.
std::optional<DaemonAddress> daemonAddress(const std::string& text);

/// The prefix length by the class of the address: 8, 16 or 24; nothing for addresses without a class.
std::optional<int> lengthByClass(const NetworkAddress& address);

} // namespace networkhost

#pragma GCC visibility pop
