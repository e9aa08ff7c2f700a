// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/IpAddress.h"

#include <string>
#include <vector>

/// Reads data of an interface from the kernel through a socket.
class ISocketReader
{
public:
    virtual ~ISocketReader() = default;

    /// Six upper-case hexadecimal pairs joined by colons. Empty when the address cannot be read.
    virtual std::string getInterfaceMac(const std::string& interfaceName) const = 0;

    /// IPv4 and IPv6 addresses in the kernel's order; empty when there are none.
    virtual std::vector<velbase2::nsa::common::structs::IpAddress>
    getInterfaceAddresses(const std::string& interfaceName) const = 0;
};
