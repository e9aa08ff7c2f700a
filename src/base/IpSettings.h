// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace velbase2::nsa::common {

/// The IPv4 configuration of one interface.
struct IpSettings
{
    std::string ip;      // dotted; empty when unknown
    std::string mask;    // dotted
    bool dhcp = false;   // if true, ip and mask are only for information
    std::string gateway; // dotted; empty for none
};

inline bool operator==(const IpSettings& left, const IpSettings& right)
{
    return left.ip == right.ip && left.mask == right.mask && left.dhcp == right.dhcp && left.gateway == right.gateway;
}

inline bool operator!=(const IpSettings& left, const IpSettings& right)
{
    return !(left == right);
}

} // namespace velbase2::nsa::common
