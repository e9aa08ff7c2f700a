// SPDX-License-Identifier: MIT
#include "networkhost/plan/Settings.h"

#include "networkhost/change/Apply.h"
#include "networksimulation/Device.h"

#include <gmock/gmock.h>

using networkhost::planSettings;
using networkhost::saveSettings;
using networksimulation::ran;
using networksimulation::wrote;

const std::string kRemote = "/etc/systemd/network/02_remote.network";
const std::string kResolver = "/etc/systemd/resolved.conf.d/";

TEST(Settings, AreSavedAndAppliedAndSavedTheSame)
{
    networksimulation::Device device;
    device.put(kResolver + "dns_server_10.conf", "[Resolve]\nDNS=192.168.50.2\n");
    const auto before = saveSettings(device.files());
    EXPECT_TRUE(planSettings(device, before).isNothingToChange());
    const auto plan = planSettings(device, R"({"interfaces": {"local": {"address": "192.168.10.1/24"},
        "remote": {"address": "192.168.50.20/24", "routes": [{"destination": "10.1.0.0/16", "gateway": "192.168.50.2"},
                                                             {"destination": "10.0.7.7/16", "gateway": "192.168.50.2"}]}},
        "gateway": "192.168.50.1", "dns": {"servers": ["192.168.50.1"], "domains": ["a.example", "b.example"]}})");
    EXPECT_TRUE(networkhost::apply(device, plan).isDone);
    const std::vector<networksimulation::Event> expected = {
        wrote(kRemote,
              "[Match]\nName=remote\n\n[Network]\nAddress=192.168.50.20/24\n[Route]\nGateway=192.168.50.1\n\n"),
        wrote(kRemote + ".d/50-routes.conf", "[Route]\nDestination=10.0.0.0/16\nGateway=192.168.50.2\n"
                                             "[Route]\nDestination=10.1.0.0/16\nGateway=192.168.50.2\n"),
        wrote(kResolver + "dns_server_0.conf", "[Resolve]\nDNS=192.168.50.1\n"),
        wrote(kResolver + "dns_server_10.conf", "[Resolve]\n"),
        wrote(kResolver + "dns_domain.conf", "[Resolve]\nDomains=a.example b.example\n"),
        ran("sudo /bin/systemctl daemon-reload"),
        ran("sudo /bin/systemctl restart systemd-networkd"),
        ran("sudo /bin/systemctl restart systemd-resolved")};
    EXPECT_EQ(device.takeEvents(), expected);
    EXPECT_TRUE(networkhost::apply(device, planSettings(device, before)).isDone);
    EXPECT_EQ(saveSettings(device.files()), before);
}

TEST(Settings, AreSavedWithoutControlCharacters)
{
    networksimulation::Device device;
    device.put(kResolver + "dns_domain.conf", "[Resolve]\nDomains=example\xc2\x9b"
                                              "31m\n");
    EXPECT_THAT(saveSettings(device.files()), testing::HasSubstr("example\\u009b31m"));
}

TEST(Settings, AreRefusedWhereAFileOfOthersAsksForMore)
{
    networksimulation::Device device;
    const auto document = saveSettings(device.files());
    device.put(kRemote, device.textOf(kRemote) + "[Route]\nDestination=10.9.0.0/16\nGateway=192.168.50.9\n");
    const auto plan = planSettings(device, document);
    ASSERT_EQ(plan.files.size(), 1U) << plan.refusal; // the line is hand-written, but in a file of the library
    EXPECT_EQ(plan.files[0].after, "[Match]\nName=remote\n\n[Network]\nDHCP=ipv4\n\n");
    device.put(kResolver + "hand.conf", "[Resolve]\nDNS=9.9.9.9\n");
    device.put(kRemote + ".d/51-ip_address.conf", "[Network]\nAddress=10.9.9.9/8\n");
    const std::string words = ": a file that is not written here asks for something else: ";
    EXPECT_EQ(planSettings(device, document).refusal,
              "interfaces.remote" + words + kRemote + ".d/51-ip_address.conf; dns" + words + kResolver + "hand.conf");
}

TEST(Settings, HaveAllFaultsTold)
{
    const auto faults = networkhost::faultsOfSettings(R"({"interfaces": {"local": {"adress": null}, "remote":
        {"address": "dhcp", "address": "dhcp", "routes": [{"destination": "10.1.0.0/08", "gateway": "::1"}]}},
        "gateway": "192.168.50.1", "dns": {"servers": "192.168.50.1", "domains": ["a b"]}})");
    const std::vector<std::string> expected = {
        "interfaces.remote.address: the key occurs twice",
        "interfaces.local.address: missing",
        "interfaces.local.adress: unknown key",
        "interfaces.remote.routes[0].destination: '/08' is not a prefix length: a prefix length is 0 to 32",
        "interfaces.remote.routes[0].gateway: not an IPv4 address",
        "gateway: null is expected: with DHCP, it comes with the lease of remote",
        "dns.servers: a list is expected",
        "dns.domains[0]: a word without blanks, control characters and backslashes is expected"};
    EXPECT_EQ(faults, expected);
}

TEST(Settings, TellThePlaceOfASyntaxError)
{
    const auto fault = [](const char* document) { return networkhost::faultsOfSettings(document).at(0); };
    EXPECT_EQ(fault("{\n  \"gateway\": nil}"), "line 2, column 15: syntax error while parsing value - invalid literal; "
                                               "last read: '\"gateway\": ni'");
    EXPECT_THAT(fault("{\"gateway\": 1e999}"), testing::StartsWith("line 1, column 17: number overflow"));
    EXPECT_EQ(fault(" \n"), "the document is empty");
    EXPECT_THAT(fault("{}\n\n]"), testing::StartsWith("line 3, column 1: syntax error"));
    EXPECT_THAT(fault("{\n\"dns\":\n"), testing::StartsWith("line 3, column 1: syntax error")); // after the last byte
}
