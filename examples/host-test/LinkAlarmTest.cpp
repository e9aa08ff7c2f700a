// SPDX-License-Identifier: MIT
#include "LinkAlarm.h"

#include "MoveRemote.h"
#include "networksimulation/NetworkManagerData.h"

#include <chrono>
#include <thread>

#include <gtest/gtest.h>

TEST(LinkAlarm, FollowsTheCable)
{
    networksimulation::Device device;
    networksimulation::NetworkManager manager;
    const LinkAlarm alarm(manager, "remote");
    manager.start();
    const auto becomes = [&alarm](bool isRaised) {
        for (int tries = 0; tries < 1000 && alarm.isRaised() != isRaised; ++tries) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10)); // the manager looks every 2 seconds
        }
        return alarm.isRaised() == isRaised;
    };
    device.unplug("remote");
    EXPECT_TRUE(becomes(true));
    device.plug("remote");
    EXPECT_TRUE(becomes(false));
}

TEST(MoveRemote, TellsWhatTheDeviceLacks)
{
    networksimulation::Device device;
    EXPECT_EQ(moveRemoteTo(device, "192.168.50.20"), "");
    EXPECT_EQ(device.textOf("/etc/systemd/network/02_remote.network"),
              "[Match]\nName=remote\n\n[Network]\nAddress=192.168.50.20/24\n[Route]\nGateway=192.168.50.1\n\n");
    device.unplug("remote");
    device.settle();
    EXPECT_EQ(moveRemoteTo(device, "192.168.50.21"), "the device still lacks the address 192.168.50.21 of remote");
    device.failCommand("sudo", "sudo: a password is required");
    EXPECT_EQ(moveRemoteTo(device, "192.168.50.22"),
              "'sudo /bin/systemctl daemon-reload' failed: sudo: a password is required");
}
