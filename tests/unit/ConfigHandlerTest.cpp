// SPDX-License-Identifier: MIT
#include "networkmanager/confighandler/ConfigHandler.h"

#include <gtest/gtest.h>

using namespace networkmanager::confighandler;
using velbase2::nsa::common::IpSettings;

static const IpSettings kStatic{"10.0.0.002", "255.255.255.0", false, "9.9.9.9"};
static const IpSettings kDhcp{"x", "", true, "9.9.9.9"};

TEST(ConfigHandler, WritesAGatewayWithDhcpToo)
{
    EXPECT_EQ(createConfig("eth0", kDhcp, "10.0.0.1", false), R"([Match]
Name=eth0

[Network]
DHCP=ipv4
[Route]
Gateway=10.0.0.1

)");
}

TEST(ConfigHandler, WritesNeitherTheAddressNorTheGatewayZero)
{
    for (const char* gateway : {"", "0.0.0.0", "000.0.0.0", "text"}) {
        EXPECT_EQ(createConfig("eth0", {"000.0.0.0", "0.0.0.0", false, ""}, gateway, false), R"([Match]
Name=eth0

[Network]

)");
    }
}

TEST(ConfigHandler, WritesNothingForInvalidSettings)
{
    EXPECT_EQ(createConfig("eth0", {"10.0.0.256", "255.0.0.0", false, ""}, "10.0.0.1", true), "");
    EXPECT_EQ(createConfig("eth0", {"10.0.0.2", "255.0.255.0", false, ""}, "10.0.0.1", true), "");
    EXPECT_FALSE(ipSettingsValid({"10.0.0.2", "", false, ""}));
    EXPECT_TRUE(ipSettingsValid(kStatic));
    EXPECT_TRUE(ipSettingsValid(kDhcp));
}

TEST(ConfigHandler, FindsTheGateway)
{
    EXPECT_EQ(parseGateway("default via 192.168.1.1 dev eth0"), "192.168.1.1");
    EXPECT_EQ(parseGateway("x\n default via 1\ndefault via 2"), "1");
    EXPECT_EQ(parseGateway("default via  1\ndefault via 2"), "");
    EXPECT_EQ(parseGateway("default dev x"), "");
}

TEST(ConfigHandler, FindsTheAddress)
{
    EXPECT_EQ(parseIpAddr("  inet 192.168.1.5/24 brd 192.168.1.255 scope global eth0"), "192.168.1.5");
    EXPECT_EQ(parseIpAddr("a/b inet 10.0.0.2/8\ninet 10.0.0.3/16"), "10.0.0.3");
    EXPECT_EQ(parseIpAddr("inet 9.0.0.2 x"), "9.0.0.2 x");
    EXPECT_EQ(parseIpAddr("inet6 ::1/128"), "");
}

TEST(ConfigHandler, FindsDhcp)
{
    EXPECT_TRUE(parseDhcp("x\ndynamic inet 1/2\n"));
    EXPECT_FALSE(parseDhcp("inet 192.0.0.2\ndynamic"));
    EXPECT_FALSE(parseDhcp("inet6 ::1/128 dynamic"));
}

TEST(ConfigHandler, FindsTheMask)
{
    EXPECT_EQ(parseSubnetMask("x\ninet 1.2.3.4/16 brd 1/8"), "255.255.0.0");
    EXPECT_EQ(parseSubnetMask("a/b inet 1/8\ninet 1/16"), "255.0.0.0");
    EXPECT_EQ(parseSubnetMask("inet 1/\t9bits"), "255.128.0.0");
    EXPECT_EQ(parseSubnetMask("inet 1/33 x"), "");
    EXPECT_EQ(parseSubnetMask("inet6 ::1/128"), "");
}

TEST(ConfigHandler, UsesTheAddressOr24WithoutAPrefixLength)
{
    EXPECT_EQ(parseSubnetMask("inet 9.0.0.2 x"), "255.128.0.0");
    for (const char* prefix : {"abc", "99999999999", "", " 8"}) {
        EXPECT_EQ(parseSubnetMask("inet 1/" + std::string(prefix) + " x\ninet 2/8"), "255.255.255.0") << prefix;
    }
}
