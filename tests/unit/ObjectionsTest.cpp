// SPDX-License-Identifier: MIT
// Cases that scenarios cannot show: hand-written settings that the daemons do not understand, and default options.
#include "networkhost/plan/Objections.h"

#include "networkhost/change/Apply.h"
#include "networkhost/change/Trial.h"
#include "networkhost/plan/Requests.h"
#include "networksimulation/Device.h"

#include <gmock/gmock.h>

using networkhost::ConfiguredInterface;
using testing::ElementsAre;

TEST(Objections, NameTheSettingAndItsFault)
{
    const auto of = [](const ConfiguredInterface& remote) {
        return networkhost::objectionsTo({{{"remote", remote}}, {}, {}}, {});
    };
    EXPECT_THAT(of({}), ElementsAre("remote would have no IPv4 address"));
    EXPECT_THAT(of({{"239.0.0.1/8"}, false, "", {}}),
                ElementsAre("the address 239.0.0.1/8 of remote: it is a multicast address"));
    EXPECT_THAT(of({{"240.0.0.1/8"}, false, "", {}}),
                ElementsAre("the address 240.0.0.1/8 of remote: it is a reserved address"));
    EXPECT_THAT(of({{"10.0.0.5/8"}, false, "", {{"0.0.0.0/0", "10.0.0.1"}}}),
                ElementsAre("the route to 0.0.0.0/0 of remote is a default route: set the gateway instead"));
    EXPECT_THAT(of({{}, true, "10.0.0.1", {{"10.1.0.0/16", "10.0.0.1"}}}),
                ElementsAre());                                               // both may be in the subnet of a lease
    EXPECT_THAT(of({{"10.0.0.0/31"}, false, "10.0.0.1", {}}), ElementsAre()); // a /31 has no broadcast address
}

TEST(Objections, RefuseAPlanUnlessItIsForced)
{
    networksimulation::Device device;
    const auto plan = networkhost::planIp(device, "local", {"10.0.0.0", "255.0.0.0", false, ""});
    const std::string reason = "the address 10.0.0.0/8 of local: it is the address of the network 10.0.0.0/8 itself";
    EXPECT_EQ(networkhost::apply(device, plan).reason, reason);
    EXPECT_EQ(networkhost::tryOut(device, plan).reason, reason);
    EXPECT_THAT(device.takeEvents(), ElementsAre());
    networkhost::ApplyOptions forced;
    forced.force = true;
    EXPECT_TRUE(networkhost::apply(device, plan, forced).isDone);
}
