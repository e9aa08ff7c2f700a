// SPDX-License-Identifier: MIT
#include "networkmanager/system/SocketReader.h"

#include "OwnProcess.h"
#include "networkmanager/system/IPSettingsExtractor.h"
#include "networksimulation/RecordingLog.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/resource.h>

using networkmanager::SocketReader;
using networksimulation::RecordingLog;
using velbase2::nsa::common::enums::IpAddressFamily;
using velbase2::nsa::common::structs::IpAddress;
using velbase2::system::executeCommand;
using Lines = std::vector<std::string>;

TEST(SocketReader, GivesAddressesInTheKernelsOrder)
{
    inANetworkOf("ip link add name eth9 type bridge; ip link set eth9 up; ip addr add 192.0.2.1/24 dev eth9; "
                 "ip addr add 10.0.0.1/9 dev eth9; ip addr add 2001:db8::a/64 dev eth9; ip link add name eth90 type "
                 "bridge; ip addr add 10.9.9.9/8 dev eth90",
                 [] {
                     auto addresses = SocketReader().getInterfaceAddresses("eth9");
                     ASSERT_GE(addresses.size(), 3U); // the kernel may have added a link-local address
                     addresses.resize(3);
                     const std::vector<IpAddress> expected = {{IpAddressFamily::IPv4, "192.0.2.1", "255.255.255.0"},
                                                              {IpAddressFamily::IPv4, "10.0.0.1", "255.128.0.0"},
                                                              {IpAddressFamily::IPv6, "2001:db8::a", ""}};
                     EXPECT_EQ(addresses, expected);
                 });
}

TEST(SocketReader, WritesIpv6AddressesAsTheToolsOfTheKernelDo)
{
    inANetworkOf("ip link add name eth9 type bridge", [] {
        for (const char* address :
             {"2001:db8::a", "1:2:3:4:5:6:7:8", "1:0:2:0:3:0:4:0", "1::2:0:0:3", "1:0:0:2::3", "1::", "fe80::1",
              "0:1::", "0:0:1::", "::1:0:0:0", "1:2:3:4:5:6::", "::1:2:3:4:5:6",
              "abcd:ef01:2345:6789:abcd:ef01:2345:6789", "::2", "::ffff:192.0.2.1", "::192.0.2.1", "::ffff:0:1:2"}) {
            ASSERT_EQ(executeCommand("ip addr add dev eth9 " + std::string(address)).errorOutput, "");
            const auto addresses = SocketReader().getInterfaceAddresses("eth9");
            ASSERT_EQ(addresses.size(), 1U);
            EXPECT_EQ(addresses.front().address, address);
            executeCommand("ip addr flush dev eth9");
        }
    });
}

TEST(SocketReader, GivesTheMacAddressOfANameCutTo15Characters)
{
    inANetworkOf("ip link add name fifteen-letters address 02:00:00:0a:7f:ff type bridge", [] {
        const networkmanager::IPSettingsExtractor extractor;
        EXPECT_EQ(extractor.getInterfaceMAC("fifteen-letters"), "02:00:00:0A:7F:FF");
        EXPECT_EQ(extractor.getInterfaceMAC("fifteen-letters-and-more"), "02:00:00:0A:7F:FF");
    });
}

TEST(SocketReader, HasNothingOfAnUnknownInterface)
{
    const SocketReader reader;
    const RecordingLog recorded;
    EXPECT_TRUE(reader.getInterfaceAddresses("eth99").empty());
    EXPECT_EQ(recorded.lines, Lines());
    EXPECT_EQ(reader.getInterfaceMac("eth99"), "");
    EXPECT_EQ(recorded.lines, Lines{"1 could not query MAC-Address from interface eth99"});
}

TEST(SocketReader, OpensItsSocketAsSoonAsItCan)
{
    OwnProcess([] {
        RecordingLog recorded;
        EXPECT_EQ(SocketReader().getInterfaceMac("eth99"), "");
        recorded.lines.clear(); // a sanitizer needs descriptors when the first line is built
        rlimit descriptors{};
        ::getrlimit(RLIMIT_NOFILE, &descriptors);
        const rlimit none{0, descriptors.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &none);
        const SocketReader reader;
        EXPECT_FALSE(reader.isValidSocket());
        EXPECT_FALSE(reader.openSocket());
        EXPECT_EQ(reader.getInterfaceMac("lo"), "");
        ::setrlimit(RLIMIT_NOFILE, &descriptors);
        EXPECT_EQ(reader.getInterfaceMac("lo"), "00:00:00:00:00:00");
        EXPECT_TRUE(reader.openSocket());
        const std::string attempt = "1 Socket is closed, attempting to open.";
        const auto failure =
            "1 Could not get network interface settings:Unable to open socket - Errno: " + std::to_string(EMFILE);
        EXPECT_EQ(recorded.lines, (Lines{attempt, failure, attempt, failure, attempt, failure,
                                         "1 could not query MAC-Address from interface lo", attempt}));
    });
}

TEST(SocketReader, ClosesItsSocket)
{
    const int fd = SocketReader().fd();
    EXPECT_GE(fd, 0);
    EXPECT_EQ(::fcntl(fd, F_GETFD), -1);
}
