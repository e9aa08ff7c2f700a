// SPDX-License-Identifier: MIT
#include "SimulatedManager.h"

using SetGateway = StaticSimulatedManager;
using SetGatewayUnderDhcp = SimulatedManager;

namespace {

const auto kFlushed = ran("ip route flush 0/0");

} // namespace

TEST_F(SetGateway, InstallsTheRouteAndThenRewritesTheFileOfRemote)
{
    EXPECT_TRUE(manager.setGateway("192.168.50.254"));
    expectEvents({ran("route add default gw 192.168.50.254"), kFlushed,
                  wrote(remoteFile, "[Match]\nName=remote\n\n[Network]\nAddress=192.168.50.2/24\n"
                                    "[Route]\nGateway=192.168.50.254\n\n"),
                  ran(reload), ran(restart), emitted("OK")});
    EXPECT_THAT(log.lines, ElementsAre("1 set request for gateway '192.168.50.254'", "2 delete default gateway",
                                       "2 change ip settings from networkd daemon"));
}

TEST_F(SetGateway, GivesTheCallersSpellingToTheToolAndTheCanonicalOneToTheFile)
{
    EXPECT_TRUE(manager.setGateway("192.168.50.007"));
    EXPECT_THAT(device.takeEvents(), Contains(ran("route add default gw 192.168.50.007")));
    EXPECT_THAT(device.textOf(remoteFile), testing::HasSubstr("\nGateway=192.168.50.7\n"));
}

TEST_F(SetGateway, RemovesItForTheZeroAddressThoughThereIsNone)
{
    for (const char* name : {"there is one", "there is none"}) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(manager.setGateway("0.0.0.0"));
        expectEvents({kFlushed, wrote(remoteFile, remoteHead + "Address=192.168.50.2/24\n\n"), ran(reload),
                      ran(restart), emitted("OK")});
        device.settle();
    }
}

TEST_F(SetGateway, GoesOnWhenTheOldRouteCannotBeFlushed)
{
    device.failCommand("ip", "no");
    EXPECT_TRUE(manager.setGateway("0.0.0.0"));
    EXPECT_THAT(device.takeEvents(), Contains(failedToRun("ip route flush 0/0")));
}

TEST_F(SetGateway, EmitsTheRouteToolsWordsAndChangesNothingMore)
{
    EXPECT_FALSE(manager.setGateway("10.9.9.9"));
    expectEvents({failedToRun("route add default gw 10.9.9.9"), emitted("SIOCADDRT: Network is unreachable")});
}

TEST_F(SetGateway, TakesOnlyOneSpellingOfTheZeroAddressForRemoval)
{
    EXPECT_FALSE(manager.setGateway("000.0.0.0"));
    expectEvents({failedToRun("route add default gw 000.0.0.0"), emitted("SIOCADDRT: Invalid argument")});
}

TEST_F(SetGateway, IsRefusedBeforeAnythingIsDone)
{
    struct Case
    {
        std::string name, gateway, status, lastLine;
    };
    const std::string equal = "1 old gateway == new gateway -> nothing to do";
    const Case cases[] = {{"no address", "", "invalid ip or mask", "no line"},
                          {"an octal number", "010.0.0.1", "invalid ip or mask", "no line"},
                          {"the present one", "192.168.50.1", "nothing to change", equal},
                          {"in another spelling", "192.168.50.001", "nothing to change", equal}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        log.lines = {"no line"};
        EXPECT_FALSE(manager.setGateway(c.gateway));
        expectEvents({emitted(c.status)});
        EXPECT_EQ(log.lines.back(), c.lastLine);
    }
}

TEST_F(SetGatewayUnderDhcp, IsRefusedEvenWithoutADefaultRoute)
{
    for (const char* name : {"with a route", "without"}) {
        for (const std::string gateway : {"192.168.50.254", "0.0.0.0"}) {
            SCOPED_TRACE(gateway + ' ' + name);
            EXPECT_FALSE(manager.setGateway(gateway));
            expectEvents({emitted("Gateway from DHCP not overwritten!")});
            EXPECT_THAT(log.lines, Contains("1 Gateway from DHCP not overwritten!"));
        }
        device.unplug("remote");
        device.settle();
    }
}

TEST_F(SetGateway, IsRefusedForDhcpOfAnotherInterfaceThatSupportsIt)
{
    device.put(localFile, "[Network]\nDHCP=yes\n");
    EXPECT_FALSE(manager.setGateway("192.168.50.254"));
    expectEvents({emitted("Gateway from DHCP not overwritten!")});
    manager.getInterfaces().at("local").dhcpSupported = false;
    EXPECT_TRUE(manager.setGateway("192.168.50.254"));
}

TEST_F(SetGatewayUnderDhcp, HasNothingToChangeForThePresentOne)
{
    EXPECT_FALSE(manager.setGateway("192.168.50.1"));
    expectEvents({emitted("nothing to change")});
}

TEST_F(SetGatewayUnderDhcp, IsTakenWhenTheDefaultRouteHasTheZeroAddress)
{
    device.setDhcpServer("remote", {"192.168.50.100", "255.255.255.0", "0.0.0.0", {}});
    device.reboot();
    EXPECT_FALSE(manager.setGateway("0.0.0.0"));
    expectEvents({emitted("nothing to change")});
    EXPECT_TRUE(manager.setGateway("192.168.50.254"));
    EXPECT_EQ(device.textOf(remoteFile), "[Match]\nName=remote\n\n[Network]\nAddress=192.168.50.100/24\n"
                                         "[Route]\nGateway=192.168.50.254\n\n");
}

TEST_F(SetGateway, KeepsTheFirstAddressThatIsNotLinkLocal)
{
    device.unplug("remote");
    device.settle();
    device.addAddress("remote", "169.254.3.4/16");
    device.addAddress("remote", "10.0.0.5/8");
    device.addAddress("remote", "10.0.0.6/8");
    EXPECT_TRUE(manager.setGateway("0.0.0.0"));
    EXPECT_EQ(device.textOf(remoteFile), "[Match]\nName=remote\n\n[Network]\nAddress=10.0.0.5/8\n\n");
}

TEST_F(SetGateway, FailsWithoutAnAddressWhenTheRouteIsGone)
{
    device.unplug("remote");
    device.settle();
    EXPECT_FALSE(manager.setGateway("0.0.0.0"));
    expectEvents({kFlushed, emitted("internal error")});
    EXPECT_THAT(log.lines, Contains("3 Writing to config file failed!"));
}

TEST_F(SetGateway, FailsWithoutAStatusWhenNoInterfaceHoldsIt)
{
    manager.getInterfaces().at("remote").holdsGateway = false;
    EXPECT_FALSE(manager.setGateway("192.168.50.254"));
    expectEvents({ran("route add default gw 192.168.50.254")});
}
