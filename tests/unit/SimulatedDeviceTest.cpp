// SPDX-License-Identifier: MIT
#include "networksimulation/Device.h"

#include <sstream>

#include <gtest/gtest.h>

TEST(SimulatedDevice, HasTheKernelsRouteTable)
{
    networksimulation::Device device;
    device.addAddress("local", "10.9.8.7/32"); // a /32 adds no route to a network
    device.addAddress("local", "10.9.8.6/31");
    std::string table;
    EXPECT_FALSE(device.files().read("/proc/net/route", table));
    EXPECT_EQ(table, "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\tWindow\tIRTT\n"
                     "remote\t00000000\t0132A8C0\t0003\t0\t0\t1024\t00000000\t0\t0\t0\n"
                     "local\t0608090A\t00000000\t0001\t0\t0\t0\tFEFFFFFF\t0\t0\t0\n"
                     "local\t000AA8C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\t0\t0\t0\n"
                     "remote\t0032A8C0\t00000000\t0001\t0\t0\t1024\t00FFFFFF\t0\t0\t0\n"
                     "remote\t0132A8C0\t00000000\t0005\t0\t0\t1024\tFFFFFFFF\t0\t0\t0\n");
}

TEST(SimulatedDevice, HintsAtEachChangeOfALinkOnce)
{
    using Device = networksimulation::Device;
    Device device;
    const auto hints = device.openHints();
    for (const auto change : {&Device::unplug, &Device::plug, &Device::removeInterface, &Device::restoreInterface}) {
        (device.*change)("remote");
        device.settle();
        EXPECT_TRUE(hints->take({}));
        (device.*change)("remote");
        EXPECT_FALSE(hints->take({}));
    }
}

TEST(SimulatedDevice, TellsWhatHappened)
{
    networksimulation::Device device;
    auto& files = device.files();
    device.failWrite("/etc/systemd/network/bad", 5);
    files.replace("/etc/systemd/network/a", "text");
    files.rename("/etc/systemd/network/a", "/etc/systemd/network/b");
    files.remove("/etc/systemd/network/b");
    files.remove("/etc/systemd/network/b"); // it no longer exists
    files.replace("/etc/systemd/network/bad", "text");
    device.system().executeCmd("ip route flush 0/0");
    device.system().executeCmd("reboot");
    device.note(networksimulation::emitted("OK"));
    device.note(networksimulation::published("remote", "link", "up"));
    std::ostringstream told;
    for (const auto& event : device.takeEvents()) {
        told << event << '\n';
    }
    EXPECT_EQ(told.str(), "wrote /etc/systemd/network/a: text\n"
                          "renamed /etc/systemd/network/a: /etc/systemd/network/b\n"
                          "removed /etc/systemd/network/b\n"
                          "failed to write /etc/systemd/network/bad: text\n"
                          "ran ip route flush 0/0\n"
                          "failed to run reboot\n"
                          "emitted OK\n"
                          "published remote link: up\n");
}
