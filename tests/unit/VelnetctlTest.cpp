// SPDX-License-Identifier: MIT
#include "networkhost/DaemonFile.h"
#include "networksimulation/Device.h"
#include "velnetctl/CommandLine.h"
#include "velnetctl/Monitor.h"

#include <cerrno>
#include <sstream>

#include <gmock/gmock.h>

namespace {

constexpr const char* kRemoteFile = "/etc/systemd/network/02_remote.network";

/// velnetctl on a simulated device.
struct Velnetctl : testing::Test
{
    /// The exit code, what was printed, and behind "! " what was printed as an error.
    std::string run(const std::string& commandLine)
    {
        std::ostringstream output;
        std::ostringstream errors;
        velnetctl::Session session{device, output, errors};
        const int code = velnetctl::run(networkhost::wordsOf(commandLine), session);
        const auto error = errors.str();
        return std::to_string(code) + ' ' + output.str() + (error.empty() ? "" : "! " + error);
    }

    networksimulation::Device device;
};

} // namespace

TEST_F(Velnetctl, RefusesWithTheFaultAndTouchesNothing)
{
    struct Case
    {
        const char* commandLine;
        const char* result;
    };
    const Case cases[] = {
        {"set-ip remote 10.0.0.1 255.0.255.0",
         "1 ! velnetctl: invalid ip or mask: the mask 255.0.255.0 is not contiguous\n"},
        {"set-ip remote 10.0.0.1 8", "1 ! velnetctl: invalid ip or mask: '8' is not a mask such as 255.255.255.0\n"},
        {"set-ip remote 10.0.0.1/33", "1 ! velnetctl: invalid ip or mask: '/33' is not a prefix length: 0 to 32 are\n"},
        {"set-ip remote fe80::1/64",
         "1 ! velnetctl: invalid ip or mask: 'fe80::1' is not a valid IPv4 address: IPv6 is not supported\n"},
        {"set-dns 0 10.0.0.010", "1 ! velnetctl: '10.0.0.010' is not a valid IPv4 address: a number with a leading "
                                 "zero may be read as octal\n"},
        {"set-gateway 192.168.50", "1 ! velnetctl: invalid ip or mask: '192.168.50' is not a valid IPv4 address: four "
                                   "numbers from 0 to 255 with dots between are\n"},
        {"set-gateway 192.168.50.2",
         "1 ! velnetctl: Gateway from DHCP not overwritten! remote uses DHCP: give remote a "
         "static address first (set-ip)\n"},
        {"set-routes local 10.0.0.0/33 via 1.1.1.1", "1 ! velnetctl: Invalid route format: 10.0.0.0/33: '/33' is not a "
                                                     "prefix length: 0 to 32 are\n"},
        {"set-routes local dst=1.1.1.1 gw=1.1.1.1 dst=2.2.2.2",
         "1 ! velnetctl: a route without \"gw=\", or a prefix length out of range\n"},
        {"set-dns -18446744073709551613 1.1.1.1",
         "2 ! INDEX: '-18446744073709551613' is not a number from 0 to 4294967295\nRun with --help for more "
         "information.\n"},
        {"set-ip remoet dhcp",
         "2 ! INTERFACE: unknown interface 'remoet'; the managed interfaces are: local, remote; did "
         "you mean 'remote'?\nRun with --help for more information.\n"},
        {"stauts", "2 ! velnetctl: unknown command 'stauts'; did you mean 'status'? (see velnetctl --help)\n"},
        {"dance", "2 ! velnetctl: unknown command 'dance' (see velnetctl --help)\n"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(run(c.commandLine), c.result) << c.commandLine;
    }
    EXPECT_THAT(device.takeEvents(), testing::IsEmpty());
}

TEST_F(Velnetctl, TriesAgainWhatFailedAtSudo)
{
    device.failCommand("sudo", "sudo: a password is required");
    EXPECT_EQ(run("set-ip remote 192.168.50.20/24"),
              "1 ! velnetctl: 'sudo /bin/systemctl daemon-reload' failed: sudo: a password is required\n");
    device.repair();
    EXPECT_EQ(run("set-ip remote 192.168.50.20/24 --wait 1"),
              "0 OK\n! velnetctl: warning: the live state lacks the address 192.168.50.20, which is configured\n");
    EXPECT_EQ(run("set-ip remote 192.168.50.20/24"), "0 nothing to change\n");
}

TEST_F(Velnetctl, ChangesAtOnceToAndFro)
{
    for (const char* address :
         {"192.168.50.20/24", "192.168.50.21/24", "192.168.50.20/24", "DHCP", "192.168.50.21/24"}) {
        EXPECT_EQ(run(std::string("set-ip remote ") + address), "0 OK\n") << address;
    }
    EXPECT_EQ(device.textOf(kRemoteFile),
              "[Match]\nName=remote\n\n[Network]\nAddress=192.168.50.21/24\n[Route]\nGateway=192.168.50.1\n\n");
}

TEST_F(Velnetctl, WritesAGatewayThatIsOnlyLive)
{
    EXPECT_EQ(run("set-ip remote 192.168.50.20/24"), "0 OK\n");
    device.settle();
    std::string output;
    device.system().executeCmd("route add default gw 192.168.50.2", output, output);
    EXPECT_EQ(run("set-gateway 192.168.50.2 --wait 1"),
              "0 OK\n! velnetctl: warning: the live state lacks the default route via 192.168.50.1, which is "
              "configured\n");
    EXPECT_EQ(device.textOf(kRemoteFile),
              "[Match]\nName=remote\n\n[Network]\nAddress=192.168.50.20/24\n[Route]\nGateway=192.168.50.2\n\n");
    EXPECT_EQ(run("set-gateway 192.168.50.2"), "0 nothing to change\n");
}

TEST_F(Velnetctl, WritesCanonicalAddresses)
{
    EXPECT_EQ(run("set-dns 0 192.168.50.001 --wait 1"), "0 OK\n");
    EXPECT_EQ(run("set-routes remote 10.001.0.0/16 via 192.168.50.002 --wait 1"), "0 Routes updated\n");
    EXPECT_EQ(device.textOf("/etc/systemd/resolved.conf.d/dns_server_0.conf"), "[Resolve]\nDNS=192.168.50.1\n");
    EXPECT_EQ(device.textOf(std::string(kRemoteFile) + ".d/50-routes.conf"),
              "[Route]\nDestination=10.1.0.0/16\nGateway=192.168.50.2\n");
}

TEST_F(Velnetctl, WaitsForTheEffectAndTellsWhatIsLacking)
{
    EXPECT_EQ(run("set-dns 0 10.0.0.53 --wait 1"), "0 OK\n");
    EXPECT_EQ(run("set-dns 0 0.0.0.0 --wait 1"), "0 OK\n");
    EXPECT_EQ(run("set-domain box.example ~only.routed --wait 1").substr(0, 1), "2"); // one word
    EXPECT_EQ(
        run("set-ip local dhcp --wait 1"),
        "1 OK\n! velnetctl: after 1 s the live state still lacks an address of local by DHCP; it shows local none, "
        "remote 192.168.50.100/24, gateway 192.168.50.1\n");
    device.hang("systemd-resolved");
    EXPECT_THAT(run("set-dns 0 10.0.0.54 --wait 1"), testing::HasSubstr("still lacks the nameserver 10.0.0.54;"));
}

TEST_F(Velnetctl, KeepsTheConfiguredGatewayWhileTheCableIsOut)
{
    EXPECT_EQ(run("set-ip remote 192.168.50.20/24 --wait 1"), "0 OK\n");
    device.unplug("remote");
    device.settle();
    for (const char* again : {"set-ip remote 192.168.50.20/24", "set-ip remote 192.168.50.21/24"}) {
        EXPECT_THAT(run(again), testing::StartsWith("0 OK\n! velnetctl: warning: the live state lacks the address"))
            << again;
    }
    EXPECT_EQ(device.textOf(kRemoteFile),
              "[Match]\nName=remote\n\n[Network]\nAddress=192.168.50.21/24\n[Route]\nGateway=192.168.50.1\n\n");
}

TEST_F(Velnetctl, WarnsOfAGatewayOutsideTheNewSubnet)
{
    EXPECT_EQ(run("set-ip remote 10.5.5.5/24"),
              "0 OK\n! velnetctl: warning: the gateway 192.168.50.1 is carried over and "
              "does not lie in the new subnet: its route will not come\n");
}

TEST_F(Velnetctl, TellsWhyAWriteFailed)
{
    device.failWrite(kRemoteFile, EROFS);
    EXPECT_EQ(run("set-ip remote 10.5.5.5/24").substr(0, 2), "1 ");
    EXPECT_THAT(
        run("set-ip remote 192.168.50.5/24"),
        testing::HasSubstr("velnetctl: cannot write /etc/systemd/network/02_remote.network: Read-only file system"));
    device.repair();
    device.removeInterface("local");
    EXPECT_THAT(run("set-ip local 10.0.0.1/8"),
                testing::HasSubstr("velnetctl: local is absent: it has no MAC address\n"));
}

TEST_F(Velnetctl, ShowsWhatIsConfiguredAndLive)
{
    EXPECT_EQ(run("set-routes remote 10.1.0.0/16 via 192.168.50.2 --wait 1"), "0 Routes updated\n");
    EXPECT_EQ(run("set-dns 0 10.0.0.53 --wait 1"), "0 OK\n");
    device.put("/etc/hostname", "evil\x1b[2Jname\n");
    device.unplug("local");
    device.settle();
    EXPECT_EQ(run("status"), R"(0 host
  name        evil\x1b[2Jname
  gateway     192.168.50.1

resolver
  configured  10.0.0.53, search none
  live        10.0.0.53, 192.168.50.1, search none

local
  link        down
  configured  192.168.10.1/24  (01_local.network)
  routes      none
  live        none
  addresses   fe80::c0ff:fea8:a01
  mac         02:00:c0:a8:0a:01
  lacks       the address 192.168.10.1 of local

remote
  link        up, 10000 Mbit/s, full duplex
  configured  DHCP  (02_remote.network)
  routes      dst=10.1.0.0/16,gw=192.168.50.2
  live        192.168.50.100/24 by DHCP
  addresses   192.168.50.100/24
              fe80::c0ff:fea8:3201
  mac         02:00:c0:a8:32:01
)");
}

TEST_F(Velnetctl, PrintsAChangeALine)
{
    std::ostringstream output;
    velnetctl::ChangePrinter(output, false).print("remote", "link", true);
    velnetctl::ChangePrinter(output, true).print("host", "hostname", std::string("a\xff\x1b"));
    EXPECT_THAT(output.str(),
                testing::MatchesRegex(
                    "20..-..-..T..:..:..\\....Z  remote  link        up\n"
                    "\\{\"time\":\".*Z\",\"source\":\"host\",\"name\":\"hostname\",\"value\":\"a.*u001b\"\\}\n"));
}
