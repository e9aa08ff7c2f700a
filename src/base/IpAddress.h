// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

namespace velbase2::nsa::common {

namespace enums {

enum class IpAddressFamily : std::int32_t { IPv4 = 1, IPv6 = 2 };

} // namespace enums

namespace structs {

/// An address as the kernel reports it, in text form.
struct IpAddress
{
    enums::IpAddressFamily family = enums::IpAddressFamily::IPv4;
    std::string address;
    std::string mask; // dotted; empty for IPv6
};

inline bool operator==(const IpAddress& left, const IpAddress& right)
{
    return left.family == right.family && left.address == right.address && left.mask == right.mask;
}

inline bool operator!=(const IpAddress& left, const IpAddress& right)
{
    return !(left == right);
}

} // namespace structs
} // namespace velbase2::nsa::common
