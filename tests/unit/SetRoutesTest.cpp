// SPDX-License-Identifier: MIT
#include "SimulatedManager.h"

using SetRoutes = SimulatedManager;

namespace {

const std::string kFile = "/etc/systemd/network/01_local.network.d/50-routes.conf";
const std::string kRoute = "dst=1.1.1.1 gw=2.2.2.2";
const std::string kRouteText = "[Route]\nDestination=1.1.1.1\nGateway=2.2.2.2\n";

} // namespace

TEST_F(SetRoutes, WritesTheDropInAndPublishesAChange)
{
    EXPECT_TRUE(manager.setRoutes("local", kRoute));
    expectEvents({wrote(kFile, kRouteText), ran(reload), ran(restart), published("local", "routes", kRoute),
                  emitted("Routes updated")});
    EXPECT_TRUE(manager.setRoutes("local", kRoute));
    expectEvents({wrote(kFile, kRouteText), ran(reload), ran(restart), emitted("Routes updated")});
}

TEST_F(SetRoutes, PartsTheTextByTheRules)
{
    struct Case
    {
        std::string name, routes, text;
    };
    const Case cases[] = {
        {"two routes", "dst=10.1.0.0/16 gw=192.168.0.1; dst=10.2.0.0,gw=002.2.2.2",
         "[Route]\nDestination=10.1.0.0/16\nGateway=192.168.0.1\n[Route]\nDestination=10.2.0.0\nGateway=002.2.2.2\n"},
        {"separators within", "\n|dst=1.1 .1.1|gw=3.3;.3.3,d;st=4.4.4.4 g,w=5.5.5.5",
         "[Route]\nDestination=1.1.1.1\nGateway=3.3.3.3\n[Route]\nDestination=4.4.4.4\nGateway=5.5.5.5\n"},
        {"what follows the number of a prefix length", "dst=1.1.1.1/\r24x\tdst=2.2.2.2 gw=3.3.3.3",
         "[Route]\nDestination=1.1.1.1/\r24x\tdst=2.2.2.2\nGateway=3.3.3.3\n"
         "[Route]\nDestination=2.2.2.2\nGateway=3.3.3.3\n"},
        {"a million separators", kRoute + std::string(1 << 20, ' '), kRouteText}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_TRUE(manager.setRoutes("local", c.routes));
        EXPECT_EQ(device.textOf(kFile), c.text);
    }
}

TEST_F(SetRoutes, WritesAnEmptySectionForTheEmptyText)
{
    EXPECT_TRUE(manager.setRoutes("local", ""));
    expectEvents({wrote(kFile, "[Route]\n"), ran(reload), ran(restart), emitted("Routes updated")});
}

TEST_F(SetRoutes, IsRefusedForTheFirstFaultAndChangesNothing)
{
    struct Case
    {
        std::string routes, status;
    };
    const Case cases[] = {{" ,;| ", "dst= identifier is missing!"},
                          {"d st=1.1.1.1 gw=1.1.1.1", "dst= identifier is missing!"},
                          {"dst=1", "gw= identifier is missing!"},
                          {"gw=1.1.1.1 dst=1.1.1.1", "destination (dst=) has to be first parameter!"},
                          {"x dst=10.0.0.0 gw=1.1.1.1", "Invalid route format: 10.0.0.0g"},
                          {"dst= gw=x", "Invalid route format: "},
                          {"dst=300.0.0.0/8 gw=x", "Invalid route format: 300.0.0.0/8"},
                          {"dst=10.0.0.0\tgw=x", "Invalid route format: 10.0.0.0\t"},
                          {"dst=10.0.0.0/ gw=x", "Invalid route format: 10.0.0.0/"},
                          {"dst=10.0.0.0/x gw=x", "Invalid route format: 10.0.0.0/x"},
                          {"dst=10.0.0.0/-1 gw=x", "Invalid route format: 10.0.0.0/-1"},
                          {"dst=10.0.0.0/33 gw=x", "Invalid route format: 10.0.0.0/33"},
                          {"dst=1.1.1.1 dst=2.2.2.2 gw=x", "Invalid route format: 1.1.1.1dst=2.2.2.2"},
                          {"dst=1.1.1.1 gw=300.1.1.1 dst=x gw=x", "Invalid gateway format: 300.1.1.1"},
                          {"dst=1.1.1.1 gw=2.2.2.2 dst=3.3.3.3 gw=4\r", "Invalid gateway format: 4\r"},
                          {"dst=1.1.1.1/8 dst=2 gw=3 dst=4 gw=5", "Invalid gateway format: 3dst=4gw=5"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.routes);
        EXPECT_FALSE(manager.setRoutes("local", c.routes));
        expectEvents({emitted(c.status)});
    }
}

TEST_F(SetRoutes, ThrowsOutOfRangeWithoutAStatus)
{
    EXPECT_THAT([this] { manager.setRoutes("eth9", "x"); }, testing::ThrowsMessage<std::out_of_range>("map::at"));
    EXPECT_THROW(manager.setRoutes("local", "dst=1.1.1.1 gw=2.2.2.2 dst=3"), std::out_of_range);
    EXPECT_THROW(manager.setRoutes("local", "dst=1.1.1.1/99999999999 gw=2.2.2.2"), std::out_of_range);
    expectEvents({});
}

TEST_F(SetRoutes, LogsHowTheTextIsCutAndWhatIsWritten)
{
    manager.setRoutes("local", kRoute);
    EXPECT_THAT(log.lines, ElementsAre("1 dst=1.1.1.1gw=2.2.2.2", "1 dst pos 4 - gw pos 14",
                                       "1 route end 21 - gw length 7", "1 dest: 1.1.1.1 - gw 2.2.2.2",
                                       "1 write: [Route]\nDestination=1.1.1.1\nGateway=2.2.2.2\n"));
}

TEST_F(SetRoutes, LogsAMissingPositionAlikeOnEveryTarget)
{
    EXPECT_THROW(manager.setRoutes("local", "dst=1 gw=2 dst=3"), std::out_of_range);
    EXPECT_THAT(log.lines, testing::IsSupersetOf({"1 dst pos 4 - gw pos 4294967295", "1 route end 5 - gw length 6"}));
}

TEST_F(SetRoutes, LogsAPrefixLengthThatIsNoNumber)
{
    manager.setRoutes("local", "dst=1.1.1.1/x gw=2.2.2.2");
    EXPECT_THAT(log.lines, Contains("3 invalid mask value: x"));
}

TEST_F(SetRoutes, RestartsNothingWhenTheFileCannotBeWritten)
{
    device.failWrite(kFile, ENOSPC);
    EXPECT_FALSE(manager.setRoutes("local", kRoute));
    expectEvents({failedToWrite(kFile, kRouteText), emitted("internal error")});
}

TEST_F(SetRoutes, KeepsTheNewFileButNotTheCellWhenNetworkdDoesNotRestart)
{
    device.failCommand(restart, "no");
    EXPECT_FALSE(manager.setRoutes("local", kRoute));
    expectEvents({wrote(kFile, kRouteText), ran(reload), failedToRun(restart), emitted("internal error")});
}

TEST_F(SetRoutes, EmitsAnInvalidArgumentOfASlotAndTellsWhetherTheFileStands)
{
    struct Case
    {
        std::string name, routes, objectionable, failing;
        bool stands;
    };
    const Case cases[] = {{"at a bad route", "dst=x gw=x", "Invalid route format: x", "nothing", false},
                          {"after a failed write", kRoute, "internal error", kFile, false},
                          {"after a failed restart", kRoute, "internal error", restart, true},
                          {"at the cell", kRoute, kRoute, "nothing", true},
                          {"at the last status", kRoute, "Routes updated", "nothing", true}};
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

TEST_F(SetRoutes, HasItsDropInsBesideTheMainFile)
{
    EXPECT_EQ(networkmanager::createSysDDropInFilePath(manager.getInterface("remote")),
              "/etc/systemd/network/02_remote.network.d");
}
