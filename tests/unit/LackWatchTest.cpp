// SPDX-License-Identifier: MIT
#include "networkhost/loop/LackWatch.h"

#include "networksimulation/Device.h"

#include <gmock/gmock.h>

using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

struct LackWatch : testing::Test
{
    void lookAfter(seconds time)
    {
        device.advance(time);
        watch.look();
    }

    networksimulation::Device device;
    std::vector<std::string> told;
    networkhost::LackWatch watch{device, seconds(10), [this](const auto& lacking) { told.push_back(lacking); }};
};

TEST_F(LackWatch, TellsWhatIsMissingForTheLimitOnceAndThatAllIsLiveAgain)
{
    lookAfter(seconds(0));
    EXPECT_EQ(watch.timeout(), -1);
    device.removeInterface("local");
    lookAfter(seconds(0));
    EXPECT_EQ(watch.timeout(), 10000);
    lookAfter(seconds(9));
    EXPECT_EQ(watch.timeout(), 1000);
    EXPECT_THAT(told, IsEmpty());
    lookAfter(seconds(1));
    lookAfter(seconds(60));
    EXPECT_EQ(watch.timeout(), -1);
    EXPECT_THAT(told, ElementsAre("the interface local"));

    device.removeInterface("remote"); // missing() still names local first
    lookAfter(seconds(0));
    device.restoreInterface("local");
    lookAfter(seconds(1));
    device.restoreInterface("remote");
    device.settle();
    lookAfter(seconds(0));
    lookAfter(seconds(60));
    EXPECT_THAT(told, ElementsAre("the interface local", "the interface remote", ""));
}

TEST_F(LackWatch, BeginsAgainWhenAllWasLiveForAMoment)
{
    watch.look("the address 10.0.0.5 of remote");
    lookAfter(seconds(9));
    watch.look("the address 10.0.0.5 of remote");
    device.advance(seconds(9));
    watch.look("the address 10.0.0.5 of remote");
    EXPECT_THAT(told, IsEmpty());
}
