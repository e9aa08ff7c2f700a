// SPDX-License-Identifier: MIT
#include "networkmanager/system/Helper.h"

#include <gtest/gtest.h>

using namespace networkmanager::helper;
using velbase2::nsa::common::IpSettings;
using velbase2::nsa::common::enums::IpAddressFamily;
using velbase2::nsa::common::structs::IpAddress;

TEST(Helper, ReadsTheAddressesOfTheRouteTable)
{
    EXPECT_EQ(hex2ip("0101A8C0"), "192.168.1.1");
    EXPECT_EQ(hex2ip("fe01a8c0"), "192.168.1.254");
    for (const char* text : {"", "0101A8C", "0101A8C00", "0101A8CG", "0x01A8C0", "+101A8C0"}) {
        EXPECT_EQ(hex2ip(text), "") << text;
    }
    EXPECT_TRUE(isHexString(""));
    EXPECT_TRUE(isHexString("09afAF"));
    EXPECT_FALSE(isHexString("g"));
}

TEST(Helper, TakesTheFirstIpv4AddressThatIsNotLinkLocal)
{
    const IpAddress ipv6{IpAddressFamily::IPv6, "10::1", ""};
    const IpAddress linkLocal{IpAddressFamily::IPv4, "169.254.3.4", "255.255.0.0"};
    const IpAddress first{IpAddressFamily::IPv4, "10.0.0.5", "255.0.0.0"};
    const IpAddress second{IpAddressFamily::IPv4, "169.25.0.1", "255.255.255.0"};
    EXPECT_EQ(getIpSettingsWithFirstIpv4({ipv6, linkLocal, first, second}),
              (IpSettings{"10.0.0.5", "255.0.0.0", false, ""}));
    EXPECT_EQ(getIpSettingsWithFirstIpv4({second, first}), (IpSettings{"169.25.0.1", "255.255.255.0", false, ""}));
    EXPECT_EQ(getIpSettingsWithFirstIpv4({ipv6, linkLocal}), IpSettings());
}
