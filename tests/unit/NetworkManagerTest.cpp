// SPDX-License-Identifier: MIT
#include "networkmanager/NetworkManager.h"

#include "TestSupport.h"

using networkmanager::NetworkManagerData;

TEST(AManager, HasLocalAndRemoteWithOneGatewayHolder)
{
    networkmanager::detail::NetworkManager<NetworkManagerData> manager;
    const auto& local = manager.getInterface("local");
    const auto& remote = manager.getInterfaces().at("remote");
    EXPECT_EQ(local.networkFile + ' ' + remote.networkFile, "01_local.network 02_remote.network");
    EXPECT_TRUE(local.dhcpSupported && local.intComIf && remote.dhcpSupported && remote.holdsGateway);
    EXPECT_FALSE(local.holdsGateway || remote.intComIf || manager.getInterfaces().size() != 2);
    EXPECT_THAT([&manager] { manager.getInterface("eth9"); }, testing::ThrowsMessage<std::out_of_range>("map::at"));
    networkmanager::EthernetInterfaces registry;
    EXPECT_THROW(registry.addInterface("eth9", "", false, true, false), std::invalid_argument);
}

TEST(AManager, LoadsItsInterfacesAndRefreshesInOneThreadUntilItIsStoppedOrDestroyed)
{
    for (const bool isStopped : {true, false}) {
        const RecordingLog recorded;
        const NetworkManagerData::Backend backend;
        std::optional<networkmanager::detail::NetworkManagerImpl<NetworkManagerData::Backend>> manager;
        manager.emplace(backend, std::make_unique<FakeSystem>());
        EXPECT_EQ(recorded.lines.at(2), "2 load network configuration for: remote"); // after local
        manager->start();
        manager->start();
        if (isStopped) {
            manager->stop();
            manager->start();
        }
        manager.reset();
        EXPECT_THAT(recorded.lines, testing::Contains("1 start main loop").Times(1));
        EXPECT_THAT(recorded.lines, testing::IsSupersetOf({"1 refresh done!", "1 exit main loop"}));
    }
}
