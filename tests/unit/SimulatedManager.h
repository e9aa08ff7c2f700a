// SPDX-License-Identifier: MIT
#pragma once

#include "RecordingLog.h"
#include "networksimulation/NetworkManagerData.h"

#include <cerrno>

#include <gmock/gmock.h>

/// A manager that is not started, over a simulated device that has booted, and one refresh later. From here on the
/// device notes what is written, run, emitted and published.
struct SimulatedManager : testing::Test
{
    SimulatedManager()
    {
        device.watch(manager);
        refresh(manager);
        forget();
    }

    /// Checks what has happened since the last call.
    void expectEvents(const std::vector<networksimulation::Event>& expected)
    {
        EXPECT_EQ(device.takeEvents(), expected);
    }

    /// Forgets what has happened and was logged up to now.
    void forget()
    {
        device.takeEvents();
        log.lines.clear();
    }

    networksimulation::Device device;
    RecordingLog log;
    networksimulation::NetworkManager manager;

    const std::string localFile = "/etc/systemd/network/01_local.network";
    const std::string localHead = "[Match]\nName=local\n\n[Network]\nLinkLocalAddressing=ipv6\nMulticastDNS=true\n";
    const std::string remoteFile = "/etc/systemd/network/02_remote.network";
    const std::string remoteHead = "[Match]\nName=remote\n\n[Network]\n";
    const std::string reload = "sudo /bin/systemctl daemon-reload";
    const std::string restart = "sudo /bin/systemctl restart systemd-networkd";
};

/// The same after remote has got 192.168.50.2/24, and 192.168.50.1 as the gateway.
struct StaticSimulatedManager : SimulatedManager
{
    StaticSimulatedManager()
    {
        device.put(remoteFile, remoteHead + "Address=192.168.50.2/24\n[Route]\nGateway=192.168.50.1\n\n");
        device.reboot();
        refresh(manager);
        forget();
    }
};

using networksimulation::emitted;
using networksimulation::failedToRun;
using networksimulation::failedToWrite;
using networksimulation::published;
using networksimulation::ran;
using networksimulation::wrote;
using testing::Contains;
using testing::ElementsAre;
using velbase2::nsa::common::IpSettings;
