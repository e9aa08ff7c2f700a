// SPDX-License-Identifier: MIT
#include "SimulatedManager.h"

using SetDns = SimulatedManager;

namespace {

const std::string kDirectory = "/etc/systemd/resolved.conf.d/";
const std::string kRestart = "sudo /bin/systemctl restart systemd-resolved";

} // namespace

TEST_F(SetDns, WritesADropInForEachServerAndRestartsTheResolver)
{
    EXPECT_TRUE(manager.setDnsServer("10.0.0.1", 0));
    EXPECT_TRUE(manager.setDnsServer("10.0.0.2", 4294967295));
    expectEvents({wrote(kDirectory + "dns_server_0.conf", "[Resolve]\nDNS=10.0.0.1\n"), ran(kRestart),
                  wrote(kDirectory + "dns_server_4294967295.conf", "[Resolve]\nDNS=10.0.0.2\n"), ran(kRestart)});
    EXPECT_THAT(log.lines, ElementsAre());
}

TEST_F(SetDns, ClearsAServerForOneSpellingOfTheZeroAddress)
{
    EXPECT_TRUE(manager.setDnsServer("0.0.0.0", 12));
    EXPECT_EQ(device.textOf(kDirectory + "dns_server_12.conf"), "[Resolve]\n");
    EXPECT_TRUE(manager.setDnsServer("000.0.0.0", 12));
    EXPECT_EQ(device.textOf(kDirectory + "dns_server_12.conf"), "[Resolve]\nDNS=000.0.0.0\n");
}

TEST_F(SetDns, WritesTheDomainsAsTheyStandAndRestartsTheResolver)
{
    for (const std::string domain : {"", " a b\n"}) {
        SCOPED_TRACE(domain);
        EXPECT_TRUE(manager.setDnsDomain(domain));
        EXPECT_THAT(
            device.takeEvents(),
            ElementsAre(wrote(kDirectory + "dns_domain.conf", "[Resolve]\nDomains=" + domain + "\n"), ran(kRestart)));
    }
    EXPECT_THAT(log.lines, ElementsAre());
}

TEST_F(SetDns, DoesNothingForAServerThatIsNoAddress)
{
    for (const std::string address : {"", "1.2.3.4\n", "::1"}) {
        SCOPED_TRACE(address);
        EXPECT_FALSE(manager.setDnsServer(address, 0));
        expectEvents({});
    }
}

TEST_F(SetDns, RestartsNothingWhenTheFileCannotBeWritten)
{
    device.failWrite(kDirectory + "dns_domain.conf", EROFS);
    EXPECT_FALSE(manager.setDnsDomain("x"));
    expectEvents({failedToWrite(kDirectory + "dns_domain.conf", "[Resolve]\nDomains=x\n")});
}

TEST_F(SetDns, FailsWhenTheResolverDoesNotRestart)
{
    device.failCommand(kRestart, "no");
    EXPECT_FALSE(manager.setDnsDomain("x"));
    EXPECT_THAT(device.takeEvents(), Contains(failedToRun(kRestart)));
}
