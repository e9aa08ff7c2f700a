// SPDX-License-Identifier: MIT
// Events during the wait of a trial or its guard, which scenarios cannot show. For kills see OrdersTest.cpp.
#include "networkhost/change/Trial.h"

#include "networkhost/change/Apply.h"
#include "networkhost/change/Guard.h"
#include "networkhost/plan/Requests.h"
#include "networkhost/state/LiveState.h"
#include "networksimulation/Device.h"

#include <algorithm>
#include <functional>
#include <utility>

#include <gmock/gmock.h>

using networkhost::TrialState;
using std::chrono::seconds;

namespace {

constexpr const char* kRemotePath = "/etc/systemd/network/02_remote.network";

/// A device with an event at a given time.
struct EventfulDevice : networksimulation::Device
{
    std::unique_ptr<networkhost::IHints> openHints() override { return IDevice::openHints(); } // no hints: waits poll
    void pause(std::chrono::milliseconds duration) override
    {
        Device::pause(duration);
        if (event && now() >= time) {
            std::exchange(event, nullptr)();
        }
    }

    std::chrono::milliseconds time{};
    std::function<void()> event;
};

networkhost::Outcome startTrial(networkhost::IDevice& device)
{
    return tryOut(device, networkhost::planIp(device, "remote", {"192.168.50.20", "255.255.255.0", false, ""}));
}

} // namespace

TEST(Trial, GoesBackWhenItsProcessIsKilledBeforeItIsLive)
{
    struct Killed
    {};
    EventfulDevice device;
    const auto old = device.textOf(kRemotePath);
    device.hang("systemd-networkd");
    device.time = device.now() + seconds(1);
    device.event = [&device] {
        EXPECT_EQ(trialState(device).kind, TrialState::Kind::Waiting);
        EXPECT_THAT(confirmTrial(device).reason, testing::StartsWith("it has not been live yet"));
        throw Killed();
    };
    EXPECT_THROW(startTrial(device), Killed);
    EXPECT_NE(device.textOf(kRemotePath), old);
    device.repair();
    const auto begin = device.now();
    networkhost::guardTrials(device, [](const std::string&) {});
    EXPECT_LT(device.now() - begin, seconds(5)); // before the time to wait is over
    EXPECT_EQ(trialState(device).why, "its process ended before it was live");
    EXPECT_EQ(device.textOf(kRemotePath), old);
}

TEST(Trial, IsRefusedWithTimesThatNobodyCouldWaitFor)
{
    networksimulation::Device device;
    for (const auto& [time, wait] : {std::pair(seconds(0), seconds(30)), std::pair(seconds::max(), seconds(30)),
                                     std::pair(seconds(60), seconds(0)), std::pair(seconds(60), seconds(86401))}) {
        networkhost::TrialOptions options;
        options.time = time;
        options.wait = wait;
        EXPECT_EQ(tryOut(device, networkhost::planDnsDomain(device, "a.example"), options).reason,
                  "the time to confirm in and the time to wait are from 1 s to 24 h (86400 s)");
    }
}

TEST(Trial, GoesOnUntilTheDaemonsCanBeRestarted)
{
    EventfulDevice device;
    ASSERT_TRUE(startTrial(device).isDone);
    device.failCommand("sudo /bin/systemctl restart", "the bus is busy");
    device.time = device.now() + seconds(100); // 40 s after the time to confirm in
    device.event = [&device] {
        EXPECT_EQ(trialState(device).kind, TrialState::Kind::RollingBack);
        device.repair();
    };
    networkhost::guardTrials(device, [](const std::string&) {});
    EXPECT_EQ(trialState(device).why, "it was not confirmed in time");
    EXPECT_EQ(readLiveState(device).interfaces.at("remote").addresses.front().address, "192.168.50.100");
}

TEST(Trial, RestartsOnceForAFileThatDoesNotComeBack)
{
    EventfulDevice device;
    ASSERT_TRUE(startTrial(device).isDone);
    device.put(kRemotePath, "[Match]\nName=remote\n");
    device.failWrite(kRemotePath, EROFS);
    device.takeEvents();
    std::vector<std::string> lines;
    std::size_t restarts = 0;
    device.time = device.now() + seconds(200);
    device.event = [&] {
        const auto events = device.takeEvents();
        restarts = static_cast<std::size_t>(std::count_if(events.begin(), events.end(), [](const auto& event) {
            return event.subject.find("restart systemd-networkd") != std::string::npos;
        }));
        device.repair();
    };
    networkhost::guardTrials(device, [&lines](const std::string& line) { lines.push_back(line); });
    EXPECT_EQ(restarts, 1U);
    EXPECT_THAT(lines, testing::ElementsAre(testing::HasSubstr("is kept in"), testing::HasSubstr("is not rolled back"),
                                            testing::HasSubstr("is rolled back")));
}

TEST(Trial, IsNotEndedByTheRollBackOfAnEarlierOne)
{
    EventfulDevice device;
    ASSERT_TRUE(startTrial(device).isDone);
    device.hang("systemd-networkd");
    device.time = device.now() + seconds(5); // while the roll-back waits for the previous settings
    device.event = [&device] {
        ASSERT_TRUE(tryOut(device, networkhost::planDnsDomain(device, "a.example")).isDone);
        device.failCommand("sudo /bin/systemctl restart", "the bus is busy");
        EXPECT_FALSE(rollBack(device, "asked for").isDone);
    };
    EXPECT_TRUE(rollBack(device, "asked for").isDone);
    EXPECT_EQ(trialState(device).kind, TrialState::Kind::RollingBack);
    EXPECT_EQ(trialState(device).title, "set-domain a.example");
}

TEST(Trial, EndsWhenItsProcessDoesNotGoOn)
{
    EventfulDevice device;
    device.time = device.now() + seconds(1);
    device.hang("systemd-networkd");
    device.event = [&device] { networkhost::guardTrials(device, [](const std::string&) {}); };
    EXPECT_FALSE(startTrial(device).isDone);
    EXPECT_EQ(trialState(device).why, "it was not live in time, and its process does not go on");
}

TEST(Trial, MakesWayWhenPreviousSettingsAreNotLive)
{
    networksimulation::Device device;
    ASSERT_TRUE(startTrial(device).isDone);
    device.hang("systemd-networkd");
    EXPECT_FALSE(rollBack(device, "asked for").isDone);
    EXPECT_TRUE(networkhost::apply(device, networkhost::planDnsDomain(device, "a.example")).isDone);
    EXPECT_EQ(trialState(device).kind, TrialState::Kind::RolledBack);
}

TEST(Trial, TellsWhyItIsNotRolledBack)
{
    networksimulation::Device device;
    ASSERT_TRUE(startTrial(device).isDone);
    device.failWrite("/etc/systemd/velnet/trials/rollback", EROFS);
    EXPECT_THAT(rollBack(device, "asked for").reason, testing::EndsWith("/rollback: Read-only file system"));
    EXPECT_TRUE(trialState(device).isPending());
}

TEST(Record, KeepsEveryByte)
{
    networksimulation::Device device;
    device.put(kRemotePath, "# \xc3\xbc \xff\n" + device.textOf(kRemotePath));
    const auto old = device.textOf(kRemotePath);
    ASSERT_TRUE(startTrial(device).isDone);
    ASSERT_NE(device.textOf(kRemotePath), old);
    EXPECT_TRUE(rollBack(device, "asked for").isDone);
    EXPECT_EQ(device.textOf(kRemotePath), old);
}
