// SPDX-License-Identifier: MIT
#include "networkmanager/confighandler/ConfigHandler.h"

#include "TestSupport.h"

using namespace networkmanager::confighandler;
using velbase2::nsa::common::IpSettings;

TEST(TheConfigHandler, WritesTheWholeNetworkFile)
{
    const std::string header = "[Match]\nName=eth0\n\n[Network]\n", route = "[Route]\nGateway=10.0.0.1\n\n";
    const std::string internal = header + "LinkLocalAddressing=ipv6\nMulticastDNS=true\n";
    const IpSettings host = {"10.0.0.002", "255.255.255.255", false, "9.9.9.9"}, dhcp = {"x", "", true, "9.9.9.9"};
    EXPECT_EQ(createConfig("eth0", host, "10.0.0.001", true), internal + "Address=10.0.0.2/32\n" + route);
    EXPECT_EQ(createConfig("eth0", host, "text", false), header + "Address=10.0.0.2/32\n\n");
    EXPECT_EQ(createConfig("eth0", dhcp, "10.0.0.1", true), internal + "DHCP=ipv4\n" + route);
    EXPECT_EQ(createConfig("eth0", dhcp, "000.0.0.0", false), header + "DHCP=ipv4\n\n");
    EXPECT_EQ(createConfig("eth0", {"000.0.0.0", "0.0.0.0", false, ""}, "10.0.0.1", false), header + route);
    EXPECT_EQ(createConfig("eth0", {"10.0.0.2", "255.0.255.0", false, ""}, "10.0.0.1", true), "");
}

TEST(TheConfigHandler, ScansTheFirstMatchingLine)
{
    const auto scan = [](const std::string& text) {
        const std::string dhcp = parseDhcp(text) ? "|dhcp" : "|";
        return parseGateway(text) + '|' + parseIpAddr(text) + '|' + parseSubnetMask(text) + dhcp;
    };
    expectResults(scan,
                  {"default via 192.168.1.1 dev eth0 -> 192.168.1.1|||", "x\n default via 1\ndefault via 2 -> 1|||",
                   "default via  1\ndefault via 2 -> |||", "default dev x\ninet6 ::1/128 dynamic -> |||",
                   "  inet 192.168.1.5/24 brd 192.168.1.255 dynamic eth0 -> |192.168.1.5|255.255.255.0|dhcp",
                   "a/b inet 10.0.0.2/8\ninet 10.0.0.3/16 -> |10.0.0.3|255.0.0.0|",
                   "inet 9.0.0.2 x\ndynamic inet 1/2 -> |9.0.0.2 x|255.128.0.0|dhcp",
                   "inet 192.0.0.2\ndynamic -> |192.0.0.2||", "inet 1/abc x -> |1|255.255.255.0|",
                   "inet 1/99999999999 -> |1|255.255.255.0|", "inet 1/ 8\ninet 2/8 -> |1|255.255.255.0|",
                   "inet 1/\t9bits -> |1|255.128.0.0|", "inet 1/33 -> |1||", "inet 1/16 brd 1/8 -> |1|255.255.0.0|"});
}
