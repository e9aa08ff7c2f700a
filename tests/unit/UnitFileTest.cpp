// SPDX-License-Identifier: MIT
#include "systemd/configuration/UnitFile.h"

#include "TestSupport.h"
#include "systemd/configuration/File.h"

using namespace vel_systemd::configuration::file;

TEST(AUnitFile, IsAppendedToTheLetter)
{
    std::istringstream input("Before=any header\n[Match]\n[Network\n# comment\n;comment=too\n Key = value \n  # "
                             "entry\n\nDHCP=ipv4\r\nDHCP=ipv6\nWord\n[Net]work]\nA=b=c\n=no key\n[]\nLost=with its "
                             "section\n[Network]\ndhcp=no\nDHCP=yes");
    Content content{{"Network", {{"there", "before"}}}};
    input >> FileConverter(content);
    EXPECT_EQ(
        content,
        (Content{{"Network", {{"there", "before"}}},
                 {"Network", {{" Key ", " value "}, {"  # entry", "  # entry"}, {"DHCP", "ipv4\r"}, {"Word", "Word"}}},
                 {"Net", {{"A", "b=c"}, {"", "no key"}}},
                 {"Network", {{"dhcp", "no"}, {"DHCP", "yes"}}}}));
}

TEST(AUnitFile, IsWrittenByAConstConverterThatRefusesToRead)
{
    const Content content{{"", {{"x", "1"}}}, {"B", {{"", "no key"}, {"y", "2"}, {"x", ""}}}, {"A", {}}};
    std::stringstream stream;
    stream << FileConverter(content);
    EXPECT_EQ(stream.str(), "\n[B]\nx=\ny=2\n\n[A]\n");
    EXPECT_THROW(stream >> FileConverter(content), std::bad_variant_access);
    EXPECT_EQ(stream.tellg(), 0);
}

TEST(AUnitFile, IsLeftOutWhenItsStreamFails)
{
    struct : std::stringbuf
    {
        int_type underflow() override { throw std::runtime_error("medium error"); }
    } failing;
    failing.str("[A]\nx=1\n[B]\ny=2\n");
    std::iostream stream(&failing);
    Content content;
    stream >> FileConverter(content);
    EXPECT_TRUE(content.empty() && File().read("/proc/self/nothing", stream));
}
