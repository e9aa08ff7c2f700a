// SPDX-License-Identifier: MIT
#include "networkmanager/system/SystemIF.h"

#include "TemporaryDirectory.h"
#include "networksimulation/RecordingLog.h"

#include <map>

#include <gtest/gtest.h>

using networksimulation::RecordingLog;
using Lines = std::vector<std::string>;

/// Reads texts instead of files, and runs no commands. Commands that begin with `failing` fail.
struct SystemOfTexts : networkmanager::SystemIF
{
    std::string readFile(const std::string& path) const override { return files.count(path) ? files.at(path) : ""; }
    bool executeCmd(const std::string& command) override { return SystemIF::executeCmd(command); }
    bool executeCmd(const std::string& command, std::string& output, std::string& errorOutput) override
    {
        commands.push_back(command);
        output = "output";
        errorOutput = errorText;
        return failing.empty() || command.rfind(failing, 0) != 0;
    }

    std::map<std::string, std::string> files;
    Lines commands;
    std::string failing, errorText;
};

TEST(SystemIF, HasALinkWhenTheStateIsExactlyUp)
{
    SystemOfTexts system;
    for (const char* state : {"", "UP", "up ", "down", "unknown"}) {
        system.files["/sys/class/net/eth0/operstate"] = state;
        EXPECT_FALSE(system.getLink("eth0")) << state;
    }
    system.files["/sys/class/net/eth0/operstate"] = "up";
    EXPECT_TRUE(system.getLink("eth0"));
}

TEST(SystemIF, FindsDhcpAnywhereInTheMainFile)
{
    SystemOfTexts system;
    const auto isUsed = [&system](const std::string& text) {
        system.files["/etc/systemd/network/x.network"] = text;
        return system.getDhcpUsed({"eth0", "x.network"});
    };
    for (const char* text : {"[Network]DHCP=yes", "#DHCP=ipv4", "DHCP=ipv6"}) {
        EXPECT_TRUE(isUsed(text)) << text;
    }
    for (const char* text : {"", "DHCP=no", "dhcp=yes"}) {
        EXPECT_FALSE(isUsed(text)) << text;
    }
}

TEST(SystemIF, FindsTheGatewayOfRemoteInTheRouteTable)
{
    const std::pair<const char*, const char*> gatewayOfTable[] = {
        {"local\t00000000\t0101A8C0\t0003remote\t0000A8C0\t00000000\t0001remote\t00000000\tfe01a8c0\t0003",
         "192.168.1.254"},
        {"xremote\t00000000\t0101A8C0\tremote\t00000000\t0201A8C0", "192.168.1.1"}, // a longer name with this end
        {"remote\t0000A8C0\t00000000", ""},                                         // no default route
        {"remote\t00000000\t0101A8", "0.0.0.0"},                                    // cut off
        {"remote\t00000000\t0x01A8C0", "0.0.0.0"},
        {"remote\t00000000\t00000000", "0.0.0.0"},
    };
    SystemOfTexts system;
    for (const auto& [table, gateway] : gatewayOfTable) {
        system.files["/proc/net/route"] = table;
        EXPECT_EQ(system.getGateway(), gateway) << table;
    }
}

TEST(SystemIF, SetsTheGatewayOrTellsTheToolsWords)
{
    SystemOfTexts system;
    std::string message = "old";
    EXPECT_TRUE(system.checkSettingsGateway("10.0.0.1", message));
    EXPECT_EQ(message, "old");
    EXPECT_EQ(system.commands, Lines{"route add default gw 10.0.0.1"});
    system.failing = "route";
    for (const std::string words : {"SIOCADDRT: no", ""}) {
        system.errorText = words + '\n';
        EXPECT_FALSE(system.checkSettingsGateway("10.0.0.1", message));
        EXPECT_EQ(message, words);
    }
    system.errorText.clear();
    message = "old";
    EXPECT_FALSE(system.checkSettingsGateway("10.0.0.1", message));
    EXPECT_EQ(message, "");
}

TEST(SystemIF, WritesAFileAndReadsItWithoutItsLineEnds)
{
    const TemporaryDirectory directory;
    const auto path = directory.file("x");
    const std::string text = "\na\n\nb\r\nc\n";
    networkmanager::SystemIF system;
    const RecordingLog recorded;
    EXPECT_EQ(system.readFile(path), "");
    EXPECT_TRUE(system.writeToConfFile(path, text));
    EXPECT_EQ(system.readFile(path), "ab\rc");
    EXPECT_EQ(recorded.lines, Lines{"2 Write '" + text + "' into file '" + path + "'"});
}

TEST(SystemIF, CountsAWriteThatFailsLaterAsDone)
{
    const RecordingLog recorded;
    EXPECT_TRUE(networkmanager::SystemIF().writeToConfFile("/dev/full", "a"));
}

TEST(SystemIF, LogsAWriteThatFailsAndKeepsItsErrno)
{
    using namespace velbase2::system;
    networkmanager::SystemIF system;
    RecordingLog recorded;
    log::setSink([&recorded](int level, auto, auto line) {
        recorded.lines.push_back(std::to_string(level) + ' ' + std::string(line));
        errno = EDOM;
    });
    EXPECT_FALSE(system.writeToConfFile("/dev/null/x", "a"));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_FALSE(system.writeToConfFile("/dev/null", ""));
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(recorded.lines,
              (Lines{"2 Write 'a' into file '/dev/null/x'", "4 Can not write config file '/dev/null/x'",
                     "4 Got empty config for file '/dev/null'! Do not write empty config to filesystem"}));
}

TEST(SystemIF, RunsACommandAndLogsItsFailure)
{
    networkmanager::SystemIF system;
    const RecordingLog recorded;
    std::string output = "old";
    std::string errorOutput = "old";
    EXPECT_TRUE(system.executeCmd("echo out", output, errorOutput));
    EXPECT_EQ(output, "out\n");
    EXPECT_EQ(errorOutput, "");
    EXPECT_FALSE(system.executeCmd("echo why >&2; exit 3", output, errorOutput));
    EXPECT_EQ(output, "");
    EXPECT_EQ(errorOutput, "why\n");
    EXPECT_FALSE(system.executeCmd("false"));
    EXPECT_EQ(recorded.lines, (Lines{"3 Error executing 'echo why >&2; exit 3' Returncode: 3",
                                     "3 Error executing 'false' Returncode: 1"}));
}
