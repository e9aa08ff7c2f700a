// SPDX-License-Identifier: MIT
// Cases that the fuzz target Addresses does not cover.
#include "base/IpHelper.h"

#include <gtest/gtest.h>

using namespace velbase2::system::iphelper;

TEST(IpHelper, AcceptsFourOctetsOfOneMeaning)
{
    for (const char* text : {"0.0.0.0", "255.255.255.255", "1.2.3.4", "001.007.00.10"}) {
        EXPECT_TRUE(isValidIp(text)) << text;
    }
    for (const char* text :
         {"",          "1.2.3",     "1.2.3.4.5", "1.2.3.",     ".1.2.3",   "1..2.3",   "1.2.3.256",
          "256.2.3.4", "010.2.3.4", "1.2.3.08",  "1.2.3.0001", " 1.2.3.4", "1.2.3.4 ", "1.2.3.4\n",
          "+1.2.3.4",  "0x1.2.3.4", "1.2.3.a",   "1.2.3.:",    "1.2.3./",  "::1",      "1.2.3.4/24"}) {
        EXPECT_FALSE(isValidIp(text)) << text;
    }
    EXPECT_FALSE(isValidIp(std::string("1.2.3.4\0", 8)));
}

TEST(IpHelper, RefusesWhatIsNoMask)
{
    for (const int prefixLength : {-1, 33}) {
        EXPECT_FALSE(isValidMask(prefixLength));
        EXPECT_EQ(subnetBitsToMask(prefixLength), "");
    }
    for (const char* mask : {"", "24", "0.0.0.255", "255.0.255.0", "255.255.255.253", "255.0.0.010"}) {
        SCOPED_TRACE(mask);
        EXPECT_FALSE(isValidMask(mask));
        EXPECT_EQ(subnetMaskToBits(mask), -1);
    }
}

TEST(IpHelper, ReadsALeadingNumber)
{
    EXPECT_EQ(leadingNumber(" +24abc", -1, -2), 24);
    EXPECT_EQ(leadingNumber("abc", -1, -2), -1);
    EXPECT_EQ(leadingNumber("99999999999", -1, -2), -2);
}
