// SPDX-License-Identifier: MIT
#include "networkmanager/NetworkManager.h"

#include "SimulatedManager.h"
#include "networksimulation/System.h"

#include <future>

using NetworkManager = SimulatedManager;
using testing::_;
using testing::FieldsAre;
using testing::ThrowsMessage;

namespace {

struct UnwritableSystem : networksimulation::System
{
    using System::System;
    bool writeToConfFile(const std::string& /*path*/, const std::string& /*content*/) override { return false; }
};

} // namespace

TEST(EthernetInterfaces, AreLocalAndRemoteWhichHoldsTheGateway)
{
    networkmanager::detail::NetworkManager<networkmanager::NetworkManagerData> manager; // on the real device
    const networkmanager::EthParams& local = manager.getInterface("local");
    const networkmanager::EthParams& remote = manager.getInterface("remote");
    EXPECT_THAT(local, FieldsAre("local", "01_local.network", true, false, true));
    EXPECT_THAT(remote, FieldsAre("remote", "02_remote.network", true, true, false));
    EXPECT_EQ(manager.getInterfaces().size(), 2U);
    EXPECT_THAT([&] { manager.getInterface("eth9"); }, ThrowsMessage<std::out_of_range>("map::at"));
}

TEST(EthernetInterfaces, KeepOneGatewayHolderAndRegisteredNames)
{
    networkmanager::EthernetInterfaces registry;
    EXPECT_THAT([&] { registry.addInterface("eth9", "9", true, true, true); },
                ThrowsMessage<std::invalid_argument>("Only one interface can hold the gateway!"));
    EXPECT_EQ(registry.interfaces.count("eth9"), 0U);
    registry.addInterface("eth9", "9", false, false, true);
    registry.addInterface("eth9", "8", true, false, false);
    const networkmanager::EthParams& eth9 = registry.interfaces.at("eth9");
    EXPECT_THAT(eth9, FieldsAre("eth9", "9", false, false, true));
}

TEST_F(NetworkManager, LoadsTheFilesOfItsInterfacesWhenItIsMade)
{
    device.put("/etc/systemd/network/01_local.network.d/50-routes.conf",
               "[Route]\nDestination=10.1.0.0/16\nGateway=192.168.10.2\n");
    networksimulation::NetworkManager another;
    EXPECT_EQ(another.getInterface("local").routes.get(), "dst=10.1.0.0/16,gw=192.168.10.2");
    EXPECT_TRUE(another.getInterface("remote").ipSettings.get()->dhcp);
    EXPECT_EQ(another.getInterface("local").macAddress.get(), std::nullopt); // empty until a refresh
    EXPECT_THAT(log.lines,
                ElementsAre(_, "2 load network configuration for: local", "2 load network configuration for: remote"));
}

TEST_F(NetworkManager, RefreshesInOneThreadUntilItIsStopped)
{
    auto another = std::make_unique<networksimulation::NetworkManager>();
    another->start();
    std::promise<void> isSecondPass;
    device.put("/etc/hostname", "first pass\n");
    manager.getSignals().hostname.connect([&](const std::string& name) {
        if (name == "first pass") {
            device.put("/etc/hostname", "second pass\n");
        } else {
            isSecondPass.set_value();
        }
    });
    manager.start();
    manager.start();
    another.reset();
    EXPECT_EQ(isSecondPass.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
    manager.stop();
    manager.stop();
    manager.start(); // does nothing any more
    EXPECT_EQ(manager.getSignals().hostname.get(), "second pass");
    EXPECT_THAT(log.lines, Contains("1 start main loop").Times(2));
    EXPECT_THAT(log.lines, Contains("1 exit main loop").Times(2));
    EXPECT_THAT(log.lines, Contains("1 stop network manager").Times(3));
}

TEST_F(NetworkManager, WorksOnTheSystemThatReplacesItsOwn)
{
    const networksimulation::NetworkManagerData::Backend backend;
    networkmanager::detail::NetworkManagerImpl impl(backend, device.makeSystem());
    std::map<std::string, networkmanager::EthInterface>* registry = nullptr;
    impl.injectSystemIF(std::make_unique<UnwritableSystem>(device.disk(), device.shell()), registry);
    EXPECT_EQ(registry, &impl.getInterfaces());
    EXPECT_FALSE(impl.setDnsDomain("x"));
}
