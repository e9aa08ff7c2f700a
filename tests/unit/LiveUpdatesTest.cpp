// SPDX-License-Identifier: MIT
#include "networkhost/LiveUpdates.h"

#include "SimulatedManager.h"
#include "networkhost/Missing.h"
#include "networkhost/Requests.h"
#include "networkhost/Trial.h"

#include <csignal>
#include <future>
#include <optional>
#include <thread>

#include <poll.h>

using networkhost::IDevice;

struct LiveUpdates : SimulatedManager
{
    bool isReady(int milliseconds = 0) const
    {
        pollfd state{updates->fd(), POLLIN, 0};
        return ::poll(&state, 1, milliseconds) > 0;
    }
    void dispatchUntil(const std::function<bool()>& isOver)
    {
        while (!isOver()) {
            ASSERT_TRUE(isReady(10000));
            updates->dispatch();
        }
    }
    /// How often the cells were refreshed until nothing was left to do.
    int refreshes()
    {
        int count = 0;
        while (isReady(100)) {
            count += updates->dispatch() ? 1 : 0;
        }
        return count;
    }

    networkmanager::EthInterface& remote = manager.getInterfaces().at("remote");
    std::optional<networkhost::LiveUpdates> updates{std::in_place, device, manager};
};

TEST_F(LiveUpdates, RefreshTheCellsAtOnceAndOnceForEachBurst)
{
    EXPECT_TRUE(isReady());
    EXPECT_EQ(refreshes(), 1);
    for (int round = 0; round < 100; ++round) {
        device.put("/etc/hostname", std::to_string(round));
        device.unplug("remote");
    }
    EXPECT_TRUE(isReady());
    EXPECT_EQ(remote.link.get(), true);
    EXPECT_EQ(refreshes(), 1);
    EXPECT_EQ(remote.link.get(), false);
    EXPECT_EQ(manager.getSignals().hostname.get(), "99");
    device.settle(); // the daemon takes the address away
    EXPECT_EQ(refreshes(), 1);
    EXPECT_EQ(remote.ipSettings.get()->ip, "");
}

TEST_F(LiveUpdates, ThatIsNeverQuietRefreshTheCellsAllTheSame)
{
    refreshes();
    for (int round = 0; manager.getSignals().hostname.get() == "device"; ++round) {
        device.put("/etc/hostname", std::to_string(round));
        updates->dispatch();
    }
}

TEST_F(LiveUpdates, MakeUpForWhatASlotThatThrewHasKeptFromTheCells)
{
    refreshes();
    remote.link.connect([](const auto&) { throw std::runtime_error("slot"); });
    device.unplug("remote");
    EXPECT_THROW(refreshes(), std::runtime_error);
    EXPECT_EQ(remote.speed.get(), "10000");
    dispatchUntil([this] { return remote.speed.get() == "0"; });
}

TEST_F(LiveUpdates, RunChangesInOrderBesideTheLoop)
{
    const auto loop = std::this_thread::get_id();
    std::vector<std::string> told;
    const auto tell = [&](const networkhost::Outcome& outcome) {
        EXPECT_EQ(std::this_thread::get_id(), loop);
        EXPECT_EQ(remote.ipSettings.get()->ip, "192.168.50.20"); // whoever is told finds it in the cells
        told.push_back(outcome.isDone ? "done" : outcome.reason);
    };
    std::promise<void> goAhead;
    updates->start(
        [&](IDevice& changed) {
            goAhead.get_future().wait();
            return tryOut(changed, planIp(changed, "remote", {"192.168.50.20", "255.255.255.0", false, ""}));
        },
        tell);
    updates->start([](IDevice& changed) { return setDnsServer(changed, "9.9.9.9", 0); }, tell);
    updates->start([](IDevice&) -> std::string { throw std::runtime_error("a change"); }, [](const auto&) {});
    updates->start([](IDevice& changed) { return confirmTrial(changed); },
                   [&](const networkhost::Outcome& outcome) {
                       tell(outcome);
                       updates->start([](IDevice& changed) { return setDnsServer(changed, "9.9.9.9", 0); }, tell);
                   });
    device.put("/etc/hostname", "meanwhile");
    dispatchUntil([this] { return manager.getSignals().hostname.get() == "meanwhile"; });
    EXPECT_THAT(told, testing::IsEmpty());
    goAhead.set_value();
    EXPECT_THROW(dispatchUntil([] { return false; }), std::runtime_error);
    dispatchUntil([&] { return told.size() == 4; });
    EXPECT_THAT(told, testing::ElementsAre("done", testing::StartsWith("a trial is pending"), "done", "done"));
}

TEST_F(LiveUpdates, EndWithTheChangeThatRunsAndDropTheOthers)
{
    std::promise<void> begins;
    std::promise<void> isDropping;
    bool isDone = false;
    velbase2::system::log::setSink([&](int, std::string_view, std::string_view line) {
        EXPECT_EQ(line, "changes that had not begun and are dropped: 2");
        isDropping.set_value();
    });
    updates->start(
        [&](IDevice&) {
            begins.set_value();
            isDropping.get_future().wait();
            sigset_t blocked;
            ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
            isDone = ::sigismember(&blocked, SIGTERM) == 1; // the host's threads are to get it
            velbase2::system::log::setSink({});
            return 0;
        },
        [](int) { FAIL(); });
    for (int i = 0; i < 2; ++i) {
        updates->start([](IDevice&) { return 1; }, [](int) { FAIL(); });
    }
    begins.get_future().wait();
    updates.reset();
    EXPECT_TRUE(isDone);
}
