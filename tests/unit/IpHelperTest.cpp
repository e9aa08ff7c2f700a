// SPDX-License-Identifier: MIT
#include "base/IpHelper.h"

#include "TestSupport.h"

using namespace velbase2::system::iphelper;

TEST(IpHelper, AcceptsUnambiguousAddressesAndContiguousMasksOnly)
{
    expectResults(cleanupIP, {"192.168.0.10 -> 192.168.0.10", "001.007.00.255 -> 1.7.0.255", "text -> 0.0.0.0"});
    for (const std::string text :
         {"", "1.2.3", "1.2.3.4.5", "1.2.3.", ".1.2.3", "1..2.3", "1.2.3.256", "256.2.3.4", "010.2.3.4", "1.2.3.08",
          "1.2.3.0001", " 1.2.3.4", "1.2.3.4 ", "1.2.3.4\n", "+1.2.3.4", "0x1.2.3.4", "1.2.3.a", "::1", "1.2.3.4/24"}) {
        EXPECT_TRUE(!isValidIp(text) && cleanupIP(text) == "0.0.0.0") << text;
    }
    EXPECT_TRUE(isValidIp("001.007.00.255") && !isValidIp(std::string("1.2.3.4\0", 8)));
    for (int bits = 0; bits <= 32; ++bits) {
        EXPECT_TRUE(isValidMask(bits) && isValidMask(subnetBitsToMask(bits))) << bits;
        EXPECT_EQ(subnetMaskToBits(subnetBitsToMask(bits)), bits);
    }
    EXPECT_EQ(subnetBitsToMask(9) + subnetBitsToMask(-1) + subnetBitsToMask(33), "255.128.0.0");
    for (const char* text : {"", "24", "0.0.0.255", "255.0.255.0", "255.255.255.253", "255.0.0.010"}) {
        EXPECT_TRUE(!isValidMask(text) && subnetMaskToBits(text) == -1) << text;
    }
    EXPECT_FALSE(isValidMask(-1) || isValidMask(33));
}
