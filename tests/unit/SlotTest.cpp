// SPDX-License-Identifier: MIT
// Slots that throw, and slots that call a set operation from two threads. tests/scenarios has the other cases.
#include "SimulatedManager.h"

#include <future>

using SetIpSlots = SimulatedManager;
using SetRoutesSlots = SimulatedManager;

TEST_F(SetIpSlots, RunsAloneUntilItsSlotsHaveReturnedOrThrown)
{
    int running = 0; // not atomic, because no two slots may run at once
    for (auto& entry : manager.getInterfaces()) {
        entry.second.holdsGateway = entry.second.dhcpSupported = false;
    }
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

TEST_F(SetRoutesSlots, EmitsAnInvalidArgumentOfASlot)
{
    const std::string route = "dst=1.1.1.1 gw=2.2.2.2";
    const std::string file = "/etc/systemd/network/01_local.network.d/50-routes.conf";
    const std::string restart = "sudo /bin/systemctl restart systemd-networkd";
    struct Case
    {
        const char* name;
        std::string routes, objectionable, failing;
        bool stands;
    };
    const Case cases[] = {{"at a bad route", "dst=x gw=x", "Invalid route format: x", "nothing", false},
                          {"after a failed write", route, "internal error", file, false},
                          {"after a failed restart", route, "internal error", restart, true},
                          {"at the cell", route, route, "nothing", true},
                          {"at the last status", route, "Routes updated", "nothing", true}};
    std::string objectionable;
    const auto object = [&objectionable](const std::string& text) {
        if (text == objectionable) {
            throw std::invalid_argument("objection");
        }
    };
    manager.getSignals().requestStatus.connect(object);
    manager.getInterfaces().at("local").routes.connect([&object](const auto& routes) { object(*routes); });
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        objectionable = c.objectionable;
        device.failWrite(c.failing, ENOSPC);
        device.failCommand(c.failing, "no");
        EXPECT_EQ(manager.setRoutes("local", c.routes), c.stands);
        EXPECT_THAT(device.takeEvents(), Contains(emitted("objection")));
        device.repair();
    }
}
