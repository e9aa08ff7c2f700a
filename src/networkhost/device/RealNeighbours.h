// SPDX-License-Identifier: MIT
#pragma once

#include "IDevice.h"

#include <memory>
#include <string>

#pragma GCC visibility push(hidden)

/// Questions by ARP, without an IP packet. Empty without the right to ask, or without the interface. Thread-safe.
namespace networkhost {

/// The kernel's own question for a neighbour (CAP_NET_ADMIN).
std::unique_ptr<IQuestion> askForNeighbour(const std::string& interfaceName, const std::string& address);

/// Whether somebody else has an address that this device has (CAP_NET_RAW). Closing it takes some 10 ms.
std::unique_ptr<IQuestion> askForTwin(const std::string& interfaceName, const std::string& address);

} // namespace networkhost

#pragma GCC visibility pop
