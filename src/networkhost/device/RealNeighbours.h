// SPDX-License-Identifier: MIT
#pragma once

#include "IDevice.h"

#include <memory>
#include <string>

#pragma GCC visibility push(hidden)

/// Questions by ARP, without an IP packet. The result is empty without the right to ask, or without the interface.
/// Thread-safe.
namespace networkhost {

/// Makes the kernel ask for a neighbour. Needs CAP_NET_ADMIN.
std::unique_ptr<IQuestion> askForNeighbour(const std::string& interfaceName, const std::string& address);

/// Asks whether another device has an address of this device. Needs CAP_NET_RAW. The destructor takes about 10 ms.
std::unique_ptr<IQuestion> askForTwin(const std::string& interfaceName, const std::string& address);

} // namespace networkhost

#pragma GCC visibility pop
