// SPDX-License-Identifier: MIT
#include "networkmanager/Refresher.h"

#include "SimulatedManager.h"
#include "networksimulation/System.h"

namespace {

struct Refresher : testing::Test
{
    Refresher() { device.watch(manager); }

    /// Makes one pass and returns the published events.
    auto pass()
    {
        refresh(manager);
        return device.takeEvents();
    }

    networksimulation::Device device;
    networksimulation::NetworkManager manager;
};

/// Notes the paths that are read.
struct ReadSystem : networksimulation::System
{
    using System::System;
    std::string readFile(const std::string& path) const override
    {
        paths.push_back(path);
        return System::readFile(path);
    }
    mutable std::vector<std::string> paths;
};

} // namespace

TEST_F(Refresher, PublishesEachFirstReadingAndThenOnlyChanges)
{
    EXPECT_THAT(pass(),
                ElementsAre(published("local", "mac", "02:00:c0:a8:0a:01"),
                            published("local", "addresses", "192.168.10.1/24, fe80::c0ff:fea8:a01"),
                            published("local", "link", "up"), // no "live" event: the loader has found the same settings
                            published("local", "speed", "10000"), published("local", "duplex", "full"),
                            published("remote", "mac", "02:00:c0:a8:32:01"),
                            published("remote", "addresses", "192.168.50.100/24, fe80::c0ff:fea8:3201"),
                            published("remote", "live", "192.168.50.100/24 by DHCP"), published("remote", "link", "up"),
                            published("remote", "speed", "10000"), published("remote", "duplex", "full"),
                            published("host", "gateway", "192.168.50.1"), published("host", "hostname", "device")));
    EXPECT_THAT(pass(), ElementsAre());
    device.put("/etc/hostname", "other\n");
    EXPECT_THAT(pass(), ElementsAre(published("host", "hostname", "other")));
}

TEST_F(Refresher, ReadsInAFixedOrderAndNoSpeedWithoutALink)
{
    device.unplug("local");
    ReadSystem system(device.disk(), device.shell());
    networkmanager::Refresher(manager.getSignals(), manager.getInterfaces(), system).refresh();
    EXPECT_THAT(system.paths, ElementsAre("/sys/class/net/local/address", "/etc/systemd/network/01_local.network",
                                          "/sys/class/net/local/operstate", "/sys/class/net/local/duplex",
                                          "/sys/class/net/remote/address", "/etc/systemd/network/02_remote.network",
                                          "/sys/class/net/remote/operstate", "/sys/class/net/remote/speed",
                                          "/sys/class/net/remote/duplex", "/proc/net/route", "/etc/hostname"));
}

TEST_F(Refresher, KeepsAssignedCellsWhenASlotThrows)
{
    manager.getInterfaces().at("local").link.connect([](const auto&) { throw std::runtime_error("slot"); });
    EXPECT_THROW(pass(), std::runtime_error);
    EXPECT_THAT(device.takeEvents(), Contains(published("local", "link", "up")));
    EXPECT_THAT(pass(), Contains(published("local", "speed", "10000")));
}
