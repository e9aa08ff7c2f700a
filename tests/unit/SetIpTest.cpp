// SPDX-License-Identifier: MIT
#include "SimulatedManager.h"

#include <future>

using SetIp = SimulatedManager;
using SetIpOfStaticRemote = StaticSimulatedManager;

namespace {

const IpSettings kDhcp{"", "", true, ""};
const IpSettings kDhcpAndMore{"10.0.0.6", "x", true, "y"};
const IpSettings kAddress{"10.0.0.5", "255.0.0.0", false, ""};
const IpSettings kAddressOfLocal{"192.168.10.1", "255.255.255.0", false, ""};
const IpSettings kGatewayAdded{"192.168.10.1", "255.255.255.0", false, "192.168.10.9"};
const IpSettings kNoAddress{"", "255.0.0.0", false, ""};
const IpSettings kNoMask{"10.0.0.5", "8", false, ""};

} // namespace

TEST_F(SetIp, ReplacesTheFileAndRestartsNetworkd)
{
    struct Case
    {
        std::string name, interfaceName;
        IpSettings settings;
        std::string path, text;
    };
    const Case cases[] = {
        {"an address", "local", kAddress, localFile, localHead + "Address=10.0.0.5/8\n\n"},
        {"a gateway counts as a change", "local", kGatewayAdded, localFile, localHead + "Address=192.168.10.1/24\n\n"},
        {"DHCP", "local", kDhcp, localFile, localHead + "DHCP=ipv4\n\n"},
        {"DHCP with what is no address", "local", kDhcpAndMore, localFile, localHead + "DHCP=ipv4\n\n"},
        {"remote keeps the live gateway", "remote", kAddress, remoteFile,
         remoteHead + "Address=10.0.0.5/8\n[Route]\nGateway=192.168.50.1\n\n"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_TRUE(manager.setIp(c.interfaceName, c.settings));
        expectEvents({wrote(c.path, c.text), ran(reload), ran(restart), emitted("OK")});
        device.settle();
    }
}

TEST_F(SetIpOfStaticRemote, WritesNoGatewayForDhcp)
{
    EXPECT_TRUE(manager.setIp("remote", kDhcp));
    EXPECT_EQ(device.textOf(remoteFile), "[Match]\nName=remote\n\n[Network]\nDHCP=ipv4\n\n");
}

TEST_F(SetIp, LogsTheOldAndTheNewSettings)
{
    manager.setIp("local", kGatewayAdded);
    const std::string line = " ip settings for interface local: ip: 192.168.10.1 - mask: 255.255.255.0 - dhcp: 0 - ";
    EXPECT_THAT(log.lines, ElementsAre("1 Mac address: '02:00:c0:a8:0a:01' of interface: local",
                                       "1 old" + line + "route: ", "1 new" + line + "route: 192.168.10.9",
                                       "2 change ip settings from networkd daemon"));
}

TEST_F(SetIp, IsRefusedBeforeAnythingIsDone)
{
    struct Case
    {
        std::string name, interfaceName;
        IpSettings settings;
        std::string status, lastLine;
    };
    const Case cases[] = {
        {"unknown", "eth9", kAddress, "internal error", "3 Got no valid interface to set ip! 'eth9'"},
        {"no name", "", kAddress, "internal error", "3 Got no valid interface to set ip! ''"},
        {"no address", "local", kNoAddress, "invalid ip or mask", "no line"},
        {"no mask", "local", kNoMask, "invalid ip or mask", "no line"},
        {"equal", "local", kAddressOfLocal, "nothing to change", "1 old == new ip address -> nothing to do"},
        {"both DHCP", "remote", kDhcpAndMore, "nothing to change", "2 No changes needed by dhcp mode"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        log.lines = {"no line"};
        EXPECT_FALSE(manager.setIp(c.interfaceName, c.settings));
        expectEvents({emitted(c.status)});
        EXPECT_EQ(log.lines.back(), c.lastLine);
    }
}

TEST_F(SetIp, IsRefusedForDhcpWhereItIsNotSupported)
{
    manager.getInterfaces().at("local").dhcpSupported = false;
    EXPECT_FALSE(manager.setIp("local", kDhcp));
    expectEvents({emitted("internal error")});
    EXPECT_THAT(log.lines, Contains("3 Interface local supports no DHCP!"));
}

TEST_F(SetIp, TakesAnInterfaceWithoutMacAddressForAbsentBeforeItCompares)
{
    device.removeInterface("local");
    EXPECT_FALSE(manager.setIp("local", kAddressOfLocal));
    expectEvents({emitted("internal error")});
    EXPECT_THAT(log.lines, ElementsAre("1 Mac address: '' of interface: local"));
}

TEST_F(SetIp, ComparesWithTheCellWhateverTheFileSays)
{
    device.put(localFile, localHead + "DHCP=ipv4\n\n");
    EXPECT_FALSE(manager.setIp("local", kAddressOfLocal));
    expectEvents({emitted("nothing to change")});
    EXPECT_TRUE(manager.setIp("local", kDhcp));
}

TEST_F(SetIp, RestartsNothingWhenTheFileCannotBeWritten)
{
    device.failWrite(localFile, ENOSPC);
    EXPECT_FALSE(manager.setIp("local", kDhcp));
    expectEvents({failedToWrite(localFile, localHead + "DHCP=ipv4\n\n"), emitted("internal error")});
    EXPECT_THAT(log.lines, Contains("3 Writing to config file failed!"));
}

TEST_F(SetIp, KeepsTheNewFileWhenNetworkdDoesNotRestart)
{
    device.failCommand(restart, "no");
    EXPECT_FALSE(manager.setIp("local", kDhcp));
    expectEvents(
        {wrote(localFile, localHead + "DHCP=ipv4\n\n"), ran(reload), failedToRun(restart), emitted("internal error")});
    EXPECT_THAT(log.lines, Contains("2 change ip settings from networkd daemon"));
}

TEST_F(SetIp, RunsAloneUntilItsSlotsHaveReturnedOrThrown)
{
    int running = 0; // not atomic: no two slots may run at once
    for (auto& entry : manager.getInterfaces()) {
        entry.second.holdsGateway = entry.second.dhcpSupported = false;
    }
    manager.getSignals().requestStatus.connect([&](const auto&) {
        EXPECT_EQ(++running, 1);
        EXPECT_FALSE(manager.setGateway("0.0.0.0")); // waits for nothing, emits nothing
        --running;
        throw std::runtime_error("slot");
    });
    const auto request = [this] {
        for (int round = 0; round < 1000; ++round) {
            EXPECT_THROW(manager.setIp("eth9", {}), std::runtime_error);
        }
    };
    const auto other = std::async(std::launch::async, request);
    request();
}
