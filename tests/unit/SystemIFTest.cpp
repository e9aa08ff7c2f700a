// SPDX-License-Identifier: MIT
#include "TestSupport.h"

#include <sys/stat.h>

using testing::ElementsAre;

TEST(TheSystem, SearchesTextsPlainly)
{
    FakeSystem system;
    const auto stateOf = [&system](const std::string& text) {
        system.files["/sys/class/net/eth0/operstate"] = system.files["/etc/systemd/network/x.network"] = text;
        system.files["/proc/net/route"] = text;
        const bool dhcp = system.getDhcpUsed({"eth0", "x.network"});
        return (system.getLink("eth0") ? "up" : dhcp ? "dhcp" : "") + system.getGateway();
    };
    expectResults(stateOf, {"up -> up", "UP -> ", "up  -> ", " -> ", "[Network]DHCP=yes -> dhcp", "#DHCP=ipv4 -> dhcp",
                            "DHCP=ipv6 -> dhcp", "DHCP=no -> ", "dhcp=yes -> ",
                            "local\t00000000\t0101A8C0remote\t00000000\tfe01a8c0\t -> 192.168.1.254",
                            "xremote\t00000000\t0101A8C0remote\t00000000\t0201A8C0 -> 192.168.1.1",
                            "remote\t0000A8C0\t00000000 -> ", "remote\t00000000\t0101A8 -> 0.0.0.0",
                            "remote\t00000000\t0x01A8C0 -> 0.0.0.0"});
}

TEST(TheSystem, RunsItsCommands)
{
    FakeSystem system;
    std::string message = "old";
    EXPECT_TRUE(system.deleteGateway() && system.reloadResolveD() && system.reloadSettings() &&
                system.checkSettingsGateway("10.0.0.1", message));
    EXPECT_EQ(message, "old");
    EXPECT_THAT(system.commands,
                ElementsAre("ip route flush 0/0", "sudo /bin/systemctl restart systemd-resolved",
                            "sudo /bin/systemctl daemon-reload", "sudo /bin/systemctl restart systemd-networkd",
                            "route add default gw 10.0.0.1 (two texts)"));
    system.failingCommand = system.commands[2];
    EXPECT_FALSE(system.reloadSettings());
    EXPECT_EQ(system.commands.back(), system.failingCommand);
    system.failingCommand = system.commands[4];
    for (const std::string reason : {"SIOCADDRT: no", ""}) {
        system.errorText = reason + '\n';
        EXPECT_FALSE(system.checkSettingsGateway("10.0.0.1", message));
        EXPECT_EQ(message, reason);
    }
}

TEST(TheRealSystem, ReadsAndReplacesFilesAndLogsWhatFails)
{
    networkmanager::SystemIF system;
    EXPECT_EQ(system.getAddresses("lo").at(0).mask, "255.0.0.0");
    const RecordingLog recorded;
    std::string directory = testing::TempDir() + "velnmXXXXXX";
    const std::string path = ::mkdtemp(directory.data()) + std::string("/x"), modeOf = "stat -c %a " + path;
    EXPECT_EQ(system.readFile(path), "");
    const auto hostMask = ::umask(0077);
    EXPECT_TRUE(system.writeToConfFile(path, "a\n\nb\nc"));
    ::umask(hostMask);
    EXPECT_EQ(system.readFile(path), "abc");
    std::string output = "old", errorOutput = "old";
    EXPECT_FALSE(system.executeCmd(modeOf + " >&2; exit 3", output, errorOutput));
    EXPECT_EQ(output + errorOutput, "644\n");
    ::chmod(path.c_str(), 0640);
    EXPECT_TRUE(system.writeToConfFile(path, "d"));
    EXPECT_FALSE(system.writeToConfFile(path, "") || system.writeToConfFile(path + "/x", "d"));
    EXPECT_TRUE(system.executeCmd(modeOf + "; cat " + path, output, errorOutput));
    EXPECT_EQ(output + errorOutput, "640\nd");
    EXPECT_THAT(recorded.lines,
                ElementsAre("2 Write 'a\n\nb\nc' into file '" + path + "'",
                            "3 Error executing '" + modeOf + " >&2; exit 3' Returncode: 3",
                            "2 Write 'd' into file '" + path + "'",
                            "4 Got empty config for file '" + path + "'! Do not write empty config to filesystem",
                            "2 Write 'd' into file '" + path + "/x'", "4 Can not write config file '" + path + "/x'"));
    EXPECT_TRUE(system.executeCmd("rm -r " + directory));
}
