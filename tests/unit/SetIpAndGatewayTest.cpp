// SPDX-License-Identifier: MIT
#include "TestSupport.h"

#include <random>
#include <regex>

TEST_F(ASetRequest, ForIpSettingsIsComparedWithTheCell)
{
    system.files["/etc/systemd/network/01_local.network"] = "DHCP=ipv4"; // the file is not compared
    std::map<std::string, velbase2::nsa::common::IpSettings> named = {
        {"static", {"10.0.0.5", "255.0.0.0", false, "10.0.0.9"}},
        {"static2", {"10.0.0.5", "255.0.0.0", false, ""}},
        {"dhcp", {"", "", true, ""}},
        {"dhcp2", {"10.0.0.6", "x", true, "10.0.0.9"}},
        {"bad_mask", {"10.0.0.5", "8", false, ""}}};
    const auto change = [&](const std::string& request) { // "interface, old settings, new settings, failing command"
        std::string name, old, settings;
        system.failingCommand.clear();
        std::istringstream(request) >> name >> old >> settings >> system.failingCommand;
        auto& cell = manager.getInterfaces().at(name).ipSettings;
        cell.assign_and_signal(named[old]);
        const auto text = loggedOutcome(manager.setIp(name, named[settings]));
        EXPECT_EQ(cell.get(), named[old]);
        return text;
    };
    const std::string equal = same + "1 old == new ip address -> nothing to do", dhcp = "DHCP=ipv4\n";
    const std::string address = "Address=10.0.0.5/8\n";
    expectResults(change,
                  {"remote dhcp static -> " + remoteFile + address + "[Route]\nGateway=192.168.1.1\n" + reloaded,
                   "remote static dhcp -> " + remoteFile + dhcp + reloaded, "remote dhcp dhcp" + equal,
                   "remote dhcp dhcp2" + same + "2 No changes needed by dhcp mode", "local static static" + equal,
                   "local dhcp static -> " + localFile + address + reloaded, "local static none" + invalid,
                   "local static static2 -> " + localFile + address + reloaded, "local static bad_mask" + invalid,
                   "local none dhcp2 -> " + localFile + dhcp + reloaded,
                   "local none dhcp write -> " + localFile + dhcp + noWrite,
                   "local none dhcp sudo -> " + localFile + dhcp + noReload});
    EXPECT_EQ(loggedOutcome(manager.setIp("eth9", {})), refused + "3 Got no valid interface to set ip! 'eth9'");
    local.dhcpSupported = false;
    EXPECT_EQ(outcome(manager.setIp("local", named["dhcp"])), refused);
    EXPECT_EQ(recorded.lines.at(1), "1 old ip settings for interface local: ip:  - mask:  - dhcp: 0 - route: ");
    EXPECT_EQ(recorded.lines.at(2), "1 new ip settings for interface local: ip:  - mask:  - dhcp: 1 - route: ");
    EXPECT_EQ(recorded.lines.at(3), "3 Interface local supports no DHCP!");
    system.files.clear();
    EXPECT_EQ(loggedOutcome(manager.setIp("local", named["dhcp"])), refused + "1 Mac address: '' of interface: local");
}

TEST_F(ASetRequest, ForAGatewayInstallsItAndWritesItUnlessItIsOfDhcp)
{
    const auto set = [this](const std::string& request) { // "gateway, field of the route table, DHCP, failing command"
        std::string gateway, field;
        auto& file = system.files["/etc/systemd/network/01_local.network"];
        system.failingCommand.clear();
        std::istringstream(request) >> gateway >> field >> file >> system.failingCommand;
        system.files["/proc/net/route"] = field == "none" ? "" : "remote\t00000000\t" + field;
        return loggedOutcome(manager.setGateway(gateway));
    };
    system.errorText = "SIOCADDRT: no\n";
    const std::string add = " -> route add default gw 001.2.3.4 (two texts);", flush = "ip route flush 0/0;";
    const std::string file = flush + remoteFile + "Address=10.0.0.5/8\n", file1 = file + "[Route]\nGateway=1.2.3.4\n";
    const std::string equal = same + "1 old gateway == new gateway -> nothing to do";
    const std::string dhcp = " -> status Gateway from DHCP not overwritten!;false1 Gateway from DHCP not overwritten!";
    expectResults(
        set, {"001.2.3.4 0101A8C0 -" + add + file1 + reloaded, "0.0.0.0 none - -> " + file + reloaded,
              "0.0.0.0 0101A8C0 - -> " + file + reloaded, "text none -" + invalid,
              "000.0.0.0 none - -> route add default gw 000.0.0.0 (two texts);" + file + reloaded,
              "001.2.3.4 0101A8C0 - ip" + add + file1 + reloaded, "010.0.0.1 none -" + invalid,
              "001.2.3.4 0101A8C0 - route" + add + "status SIOCADDRT: no;false1 set request for gateway '001.2.3.4'",
              "192.168.001.1 0101A8C0 DHCP=yes" + equal, "0.0.0.0 00000000 DHCP=yes" + equal,
              "001.2.3.4 00000000 DHCP=yes" + add + file1 + reloaded, "1.2.3.4 0101A8C0 DHCP=yes" + dhcp,
              "0.0.0.0 0101A8C0 DHCP=yes" + dhcp, "1.2.3.4 none DHCP=yes" + dhcp, "0.0.0.0 none DHCP=yes" + dhcp});
    local.dhcpSupported = false;
    system.addresses.pop_back();
    expectResults(set, {"001.2.3.4 none DHCP=yes" + add + flush + refused + "3 Writing to config file failed!"});
    remote.holdsGateway = false;
    expectResults(set, {"001.2.3.4 none -" + add + "false1 set request for gateway '001.2.3.4'"});
}

TEST_F(ASetRequest, ForIpSettingsRunsAloneUntilItsSlotsHaveReturnedOrThrown)
{
    int running = 0; // not atomic: no two slots may run at once
    remote.holdsGateway = false;
    manager.getSignals().requestStatus.disconnect_all_slots();
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

TEST_F(ASetRequest, OfHostileTextRunsAndWritesNothingElse)
{
    // What follows a destination's "/" is the caller's, but for separators, once it begins with a number.
    const std::regex known(
        R"((?:status|routes) [^]*|ip route flush 0/0|route add default gw (.*) \(two texts\)|sudo /bin/systemctl )"
        R"((daemon-reload|restart systemd-(networkd|resolved))|write /etc/systemd/network/0(1_local|2_remote)\.network)"
        R"((\n\[Match\]\nName=(local|remote)\n\n\[Network\]\n(LinkLocalAddressing=ipv6\nMulticastDNS=true\n)?)"
        R"(Address=[\d.]+/\d+\n(\[Route\]\nGateway=[\d.]+\n)?\n|\.d/50-routes\.conf\n)"
        R"((\[Route\]\nDestination=[\d.]+(/\s*[+-]?\d[^\n,;| ]*)?\nGateway=[\d.]+\n)+)|)"
        R"(write /etc/systemd/resolved\.conf\.d/dns_server_7\.conf\n\[Resolve\]\nDNS=[\d.]+\n)");
    constexpr char characters[] = "019./dst=gw- \n\r\t;|&$()`'\"\\#%*[]\xc3\xbc\xff"; // and the NUL at the end
    std::mt19937 random(1); // NOLINT(cert-msc51-cpp): the same texts in every run
    const auto spoilt = [&](std::string text) {
        for (auto count = random() % 4; count > 0; --count) {
            const auto character = characters[random() % sizeof characters];
            text.insert(random() % (text.size() + 1), random() % 16 == 0 ? 300 : 1, character);
        }
        return text;
    };
    int successes[] = {0, 0, 0, 0};
    for (int round = 0; round < 4000; ++round) {
        successes[0] += manager.setIp(spoilt("local"), {spoilt("10.0.0.7"), spoilt("255.0.0.0"), false, spoilt("")});
        successes[1] += manager.setGateway(spoilt("10.0.0.8"));
        successes[2] += manager.setDnsServer(spoilt("10.0.0.9"), 7);
        try {
            successes[3] += manager.setRoutes("remote", spoilt("dst=10.1.0.0/16 gw=10.0.0.1 dst=10.2.0.0 gw=10.0.0.2"));
        } catch (const std::out_of_range&) { // a prefix beyond int, or a later route without gateway
        }
    }
    EXPECT_THAT(successes, testing::Each(testing::Gt(10)));
    for (const auto& command : system.commands) {
        std::smatch match;
        ASSERT_TRUE(std::regex_match(command, match, known)) << command;
        ASSERT_TRUE(!match[1].matched || velbase2::system::iphelper::isValidIp(match[1])) << command;
    }
}
