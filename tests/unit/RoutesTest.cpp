// SPDX-License-Identifier: MIT
#include "TestSupport.h"

TEST_F(ASetRequest, ForRoutesWritesThemAndPublishesAChange)
{
    const std::vector<std::pair<std::string, std::string>> table = {
        {"", ""},
        {"dst=10.1.0.0/16 gw=192.168.0.1; d,st=10.2.0.0,g|w=002.2.2.2" + std::string(1 << 20, ' '),
         "Destination=10.1.0.0/16\nGateway=192.168.0.1\n[Route]\nDestination=10.2.0.0\nGateway=002.2.2.2\n"},
        {"\n|dst=1.1 .1.1/\r24x\tdst=2.2.2.2 gw=3.3.3.3;",
         "Destination=1.1.1.1/\r24x\tdst=2.2.2.2\nGateway=3.3.3.3\n[Route]\nDestination=2.2.2.2\nGateway=3.3.3.3\n"}};
    for (const auto& [routes, content] : table) {
        const auto complete = routesFile + "[Route]\n" + content + restart;
        EXPECT_EQ(setRoutes(routes), complete + "routes " + routes + ";status Routes updated;true");
        EXPECT_EQ(setRoutes(routes), complete + "status Routes updated;true");
        EXPECT_EQ(recorded.lines.back(), "1 write: [Route]\n" + content);
    }
}

TEST_F(ASetRequest, ForRoutesIsRefusedForItsFirstFault)
{
    EXPECT_THROW(setRoutes("dst=1/x gw=2 dst=3"), std::out_of_range);
    setRoutes("dst=1/x gw=2");
    EXPECT_THAT(recorded.lines,
                testing::ElementsAre("1 dst=1/xgw=2dst=3", "1 dst pos 4 - gw pos 10", "1 route end 11 - gw length 1",
                                     "1 dest: 1/x - gw 2", "1 dst=3", "1 dst pos 4 - gw pos 4294967295",
                                     "1 route end 5 - gw length 6", "1 dst=1/xgw=2", "1 dst pos 4 - gw pos 10",
                                     "1 route end 11 - gw length 1", "1 dest: 1/x - gw 2", "3 invalid mask value: x"));
    for (const std::string destination : {"", "10.0.0.0/x", "10.0.0.0/", "10.0.0.0/33", "10.0.0.0/-1", "300.0.0.0/8",
                                          "10.0.0.0\t", "1.1.1.1dst=2.2.2.2"}) {
        EXPECT_EQ(setRoutes("dst=" + destination + "gw=x"), "status Invalid route format: " + destination + ";false");
    }
    EXPECT_THROW(setRoutes("dst=x/99999999999 gw=1.1.1.1"), std::out_of_range);
    const auto fault = [this](const std::string& routes) { return setRoutes(routes).erase(0, 7); };
    expectResults(fault, {" ,;| -> dst= identifier is missing!;false", "dst=1 -> gw= identifier is missing!;false",
                          "d st=1.1.1.1 gw=1.1.1.1 -> dst= identifier is missing!;false",
                          "gw=1.1.1.1 dst=1.1.1.1 -> destination (dst=) has to be first parameter!;false",
                          "x dst=10.0.0.0 gw=1.1.1.1 -> Invalid route format: 10.0.0.0g;false",
                          "dst=1.1.1.1 gw=300.1.1.1 dst=x gw=x -> Invalid gateway format: 300.1.1.1;false",
                          "dst=1.1.1.1 gw=2.2.2.2 dst=3.3.3.3 gw=4\r -> Invalid gateway format: 4\r;false",
                          "dst=1.1.1.1/8 dst=2 gw=3 dst=4 gw=5 -> Invalid gateway format: 3dst=4gw=5;false"});
    EXPECT_FALSE(local.routes.get());
}

TEST_F(ASetRequest, ForRoutesKeepsWhatWasDoneWhenTheRestOrASlotFails)
{
    const std::string good = "dst=1.1.1.1 gw=2.2.2.2";
    const std::string attempt = routesFile + "[Route]\nDestination=1.1.1.1\nGateway=2.2.2.2\n";
    objectionable = "status internal error";
    system.failingCommand = "write";
    EXPECT_EQ(setRoutes(good), attempt + ";status internal error;status objection;false");
    system.failingCommand = "sudo";
    EXPECT_EQ(setRoutes(good), attempt + reload + "status internal error;status objection;true");
    objectionable = "status Invalid route format: x";
    EXPECT_EQ(setRoutes("dst=x gw=x"), objectionable + ";status objection;false");
    EXPECT_EQ(setRoutes(good), attempt + reload + "status internal error;false");
    system.failingCommand.clear();
    objectionable = "routes " + good;
    EXPECT_EQ(setRoutes(good), attempt + restart + objectionable + ";status objection;true");
}
