// SPDX-License-Identifier: MIT
// The operations of the backend. tests/scenarios/Load.txt shows how it reads files.
#include "systemd/configuration/SystemdBackend.h"

#include "SimulatedManager.h"

using SystemdBackend = SimulatedManager;
using Backend = networksimulation::NetworkManagerData::Backend;

TEST_F(SystemdBackend, AssignsOnceWhatItFindsAndLogsEachLoad)
{
    networkmanager::EthInterface iface;
    iface.name = "eth0";
    iface.networkFile = "missing.network";
    int emissions = 0;
    iface.ipSettings.connect([&emissions](const auto&) { ++emissions; });
    iface.routes.connect([&emissions](const auto&) { ++emissions; });
    EXPECT_TRUE(Backend().load(iface));
    EXPECT_TRUE(Backend().load(iface));
    EXPECT_EQ(iface.ipSettings.get(), IpSettings());
    EXPECT_EQ(iface.routes.get(), "");
    EXPECT_EQ(emissions, 2);
    EXPECT_EQ(log.lines, std::vector<std::string>(2, "2 load network configuration for: eth0"));
    EXPECT_FALSE(Backend().configure(iface));
}
