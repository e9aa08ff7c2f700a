// SPDX-License-Identifier: MIT
#include "networkmanager/Refresher.h"

#include "TestSupport.h"
#include "networkmanager/EthernetInterfaces.h"

using velbase2::nsa::common::enums::IpAddressFamily;

TEST(ARefresher, EmitsWhatChangesInPresentInterfacesAndTheHost)
{
    HostSignals host;
    auto interfaces = networkmanager::EthernetInterfaces().interfaces;
    FakeSystem system;
    std::string emitted;
    const auto record = [&emitted](const std::string& name, auto& cell) {
        cell.connect([&emitted, name](const auto&) { emitted += name; });
    };
    for (auto& [name, iface] : interfaces) {
        record(name + " mac,", iface.macAddress);
        record(" addresses,", iface.addresses);
        record(" settings,", iface.ipSettings);
        record(" link,", iface.link);
        record(" speed,", iface.speed);
        record(" duplex,", iface.duplex);
    }
    record(" gateway,", host.gateway);
    record(" hostname,", host.hostname);
    const auto pass = [&] {
        networkmanager::Refresher(host, interfaces, system).refresh();
        return std::exchange(emitted, {});
    };
    const std::string directory = "/sys/class/net/local/";
    system.files = {{directory + "address", "00:aa"}, {directory + "operstate", "up"}, {directory + "speed", "10"}};
    EXPECT_EQ(pass(), "local mac, addresses, settings, link, speed, duplex, gateway, hostname,");
    EXPECT_EQ(pass(), "");
    system.files = {{"/sys/class/net/remote/address", "00:bb"}, {"/etc/hostname", "device"}};
    EXPECT_EQ(pass(), "remote mac, addresses, settings, link, speed, duplex, hostname,");

    system.files = {{directory + "address", "00:aa"}, {directory + "duplex", "half"}, {"/etc/hostname", "device"}};
    EXPECT_EQ(pass(), " link, speed, duplex,");
    EXPECT_EQ(interfaces.at("local").speed.get(), "0");
    EXPECT_EQ(system.files.count(directory + "speed"), 0U);

    system.addresses = {{IpAddressFamily::IPv6, "10::1", ""}, {IpAddressFamily::IPv4, "169.254.3.4", "255.255.0.0"}};
    EXPECT_EQ(pass(), " addresses,");
    system.addresses.push_back({IpAddressFamily::IPv4, "10.0.0.5", "255.0.0.0"});
    EXPECT_EQ(pass(), " addresses, settings,");
    system.files["/etc/systemd/network/01_local.network"] = "DHCP=yes";
    EXPECT_EQ(pass(), " settings,");
    EXPECT_EQ(interfaces.at("local").ipSettings.get()->ip, "10.0.0.5");
}
