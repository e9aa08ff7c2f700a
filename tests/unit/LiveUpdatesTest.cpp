// SPDX-License-Identifier: MIT
#include "networkhost/loop/LiveUpdates.h"

#include "SimulatedManager.h"
#include "networkhost/change/Apply.h"
#include "networkhost/change/Trial.h"
#include "networkhost/plan/Requests.h"
#include "networkhost/state/Missing.h"
#include "networksimulation/Hints.h"

#include <csignal>
#include <future>
#include <optional>
#include <thread>

#include <poll.h>

using networkhost::IDevice;

/// Looks only at the first event of a burst.
const networkhost::LiveOptions kPatient = {std::chrono::hours(1), std::chrono::hours(1), {}, {}};

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
    /// Counts the refreshes of the cells until nothing is left to do.
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
    for (int round = 0, passes = 0; passes < 3; ++round) {
        device.put("/etc/hostname", std::to_string(round));
        passes += updates->dispatch() ? 1 : 0;
    }
    refreshes();
    device.put("/etc/hostname", "after the storm");
    EXPECT_EQ(refreshes(), 1);
    EXPECT_EQ(manager.getSignals().hostname.get(), "after the storm");
}

TEST_F(LiveUpdates, LookAtTheFirstEventOfABurstAtOnceAndAtTheOthersInTheSetTime)
{
    updates.emplace(device, manager, kPatient);
    refreshes();
    device.unplug("remote");
    EXPECT_TRUE(updates->dispatch());
    device.plug("remote");
    EXPECT_FALSE(updates->dispatch());
    EXPECT_EQ(remote.link.get(), false);

    networkhost::LiveOptions options;
    options.quiet = kPatient.quiet;
    options.longest = std::chrono::milliseconds(1);
    updates.emplace(device, manager, options);
    refreshes();
    for (const bool isPlugged : {false, true, false}) {
        isPlugged ? device.plug("remote") : device.unplug("remote");
        dispatchUntil([&] { return remote.link.get() == isPlugged; });
    }
    options.quiet = std::chrono::milliseconds(-1);
    EXPECT_THROW(updates.emplace(device, manager, options), std::invalid_argument);
}

TEST_F(LiveUpdates, TellCellsThenCarriersThenThePassThenOutcomes)
{
    std::vector<std::string> told;
    manager.getSignals().hostname.connect([&](const std::string& name) { told.push_back(name); });
    remote.link.connect([&](const auto&) { told.emplace_back("link"); });
    auto options = kPatient; // in the burst, no pass comes before the outcome
    options.onCarrier = [&](const std::string& name, const networkhost::Carrier& carrier) {
        told.push_back(name + ' ' + std::to_string(carrier.downs) + '/' + std::to_string(carrier.ups));
    };
    options.onPass = [&](bool haveFilesChanged) { told.emplace_back(haveFilesChanged ? "pass, files" : "pass"); };
    updates.emplace(device, manager, options);
    device.put("/etc/hostname", "begin of a burst");
    refreshes();
    EXPECT_THAT(told, ElementsAre("begin of a burst", "local 1/1", "remote 1/1", "pass, files"));
    told.clear();
    updates->start(
        [this](IDevice&) {
            device.unplug("remote");
            device.plug("remote");
            device.put("/etc/hostname", "in the burst");
            return 0;
        },
        [&](int) { told.emplace_back("done"); });
    dispatchUntil([&] { return !told.empty(); });
    EXPECT_THAT(told, ElementsAre("in the burst", "remote 2/2", "pass, files", "done"));
}

TEST_F(LiveUpdates, RefreshCellsAgainAfterASlotThrew)
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
        EXPECT_EQ(remote.ipSettings.get()->ip, "192.168.50.20"); // a callback finds its change in the cells
        told.push_back(outcome.isDone ? "done" : outcome.reason);
    };
    std::promise<void> goAhead;
    updates->start(
        [&](IDevice& changed) {
            goAhead.get_future().wait();
            auto outcome = apply(changed, planIp(changed, "remote", {"192.168.50.20", "255.255.255.0", false, ""}));
            device.settle();
            return outcome;
        },
        tell);
    updates->start([](IDevice& changed) { return apply(changed, planDnsServer(changed, "9.9.9.9", 0)); }, tell);
    updates->start([](IDevice&) -> std::string { throw std::runtime_error("a change"); }, [](const auto&) {});
    updates->start([](IDevice& changed) { return apply(changed, planDnsServer(changed, "9.9.9.8", 1)); },
                   [&](const networkhost::Outcome& outcome) {
                       tell(outcome);
                       updates->start(
                           [](IDevice& changed) { return apply(changed, planDnsDomain(changed, "a.example")); }, tell);
                   });
    device.put("/etc/hostname", "meanwhile");
    dispatchUntil([this] { return manager.getSignals().hostname.get() == "meanwhile"; });
    EXPECT_THAT(told, testing::IsEmpty());
    goAhead.set_value();
    EXPECT_THROW(dispatchUntil([] { return false; }), std::runtime_error);
    dispatchUntil([&] { return told.size() == 4; });
    EXPECT_THAT(told, testing::ElementsAre("done", "done", "done", "done"));
}

namespace {

/// A simulated device whose clock never advances. A wait on it only ends when it is broken off.
class StandingDevice : public IDevice
{
public:
    explicit StandingDevice(networksimulation::Device& device) : device_(device) {}

    networkmanager::ISystemIF& system() override { return device_.system(); }
    networkhost::IFiles& files() override { return device_.files(); }
    std::chrono::milliseconds now() const override { return device_.now(); }
    void pause(std::chrono::milliseconds /*duration*/) override { std::this_thread::yield(); }
    bool startGuard(const std::function<bool()>& /*isUp*/) override { return true; }
    bool hasBootGuard() override { return true; }
    std::unique_ptr<networkhost::IHints> openHints() override { return std::make_unique<Hints>(device_.clock()); }

private:
    struct Hints : networksimulation::Hints
    {
        using networksimulation::Hints::Hints;
        bool take(std::chrono::milliseconds /*limit*/) override
        {
            std::this_thread::yield();
            return networksimulation::Hints::take(std::chrono::milliseconds(0));
        }
    };

    networksimulation::Device& device_;
};

} // namespace

TEST_F(LiveUpdates, BeginTheNextChangeWhileATrialWaits)
{
    StandingDevice standing(device);
    updates.emplace(standing, manager);
    device.unplug("remote");
    const auto startTrial = [&](const std::function<void(const networkhost::Outcome&)>& tell) {
        updates->start(
            [](IDevice& changed) {
                return tryOut(changed, planIp(changed, "remote", {"192.168.50.20", "255.255.255.0", false, ""}));
            },
            tell);
        dispatchUntil([this] { return networkhost::trialState(device).isPending(); });
    };
    std::vector<std::string> told;
    startTrial([&told](const auto& outcome) { told.push_back(outcome.reason); });
    updates->start([](IDevice& changed) { return rollBack(changed, "asked for"); },
                   [&told](const auto& outcome) { told.push_back(outcome.isDone ? "done" : outcome.reason); });
    dispatchUntil([&told] { return told.size() == 2; });
    EXPECT_THAT(told, testing::UnorderedElementsAre("done", testing::EndsWith("was rolled back: asked for")));
    startTrial([](const auto&) { FAIL(); });
    updates.reset();
    EXPECT_TRUE(networkhost::trialState(device).isPending()); // its guard notices that the caller has gone
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
            isDone = ::sigismember(&blocked, SIGTERM) == 1; // the signal is for the host's threads
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
