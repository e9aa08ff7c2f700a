// SPDX-License-Identifier: MIT
#include "TestSupport.h"

TEST_F(ASetRequest, ForDnsWritesADropInAndThenRestartsTheResolver)
{
    const std::string file = "write /etc/systemd/resolved.conf.d/dns_", section = ".conf\n[Resolve]\n";
    const std::string complete = "\n;sudo /bin/systemctl restart systemd-resolved;true";
    EXPECT_EQ(outcome(manager.setDnsServer("000.0.0.0", 3)), file + "server_3" + section + "DNS=000.0.0.0" + complete);
    EXPECT_EQ(outcome(manager.setDnsServer("0.0.0.0", ~0U)), file + "server_4294967295.conf\n[Resolve]" + complete);
    EXPECT_EQ(outcome(manager.setDnsDomain("")), file + "domain" + section + "Domains=" + complete);
    EXPECT_EQ(outcome(manager.setDnsDomain(" a b\n")), file + "domain" + section + "Domains= a b\n" + complete);
    EXPECT_EQ(outcome(manager.setDnsServer("", 0) || manager.setDnsServer("1.2.3.4\n", 0)), "false");
    system.failingCommand = "write";
    EXPECT_EQ(outcome(manager.setDnsDomain("x")), file + "domain" + section + "Domains=x\n;false");
    system.failingCommand = "sudo";
    EXPECT_FALSE(manager.setDnsDomain("x"));
    EXPECT_THAT(recorded.lines, testing::IsEmpty());
}
