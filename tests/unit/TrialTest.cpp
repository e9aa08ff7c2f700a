// SPDX-License-Identifier: MIT
// Whatever ends a process in the middle of a trial: the guard leaves the files old, or new once they were confirmed.
#include "networkhost/Trial.h"

#include "networkhost/Guard.h"
#include "networkhost/LiveState.h"
#include "networkhost/Record.h"
#include "networkhost/Requests.h"
#include "networkhost/Settings.h"
#include "networksimulation/Device.h"
#include "networksimulation/Files.h"

#include <functional>
#include <utility>

#include <gmock/gmock.h>

using networkhost::TrialState;

namespace {

constexpr const char* kRemotePath = "/etc/systemd/network/02_remote.network";

struct Killed
{};

/// The files of a device whose process is killed before one of its changes.
class MortalFiles : public networksimulation::Files
{
public:
    using Files::Files;

    std::error_code replace(const std::string& path, const std::string& text,
                            const networkhost::Rights* rights) override
    {
        survive();
        return Files::replace(path, text, rights);
    }
    std::error_code remove(const std::string& path) override
    {
        survive();
        return Files::remove(path);
    }
    std::error_code rename(const std::string& from, const std::string& to) override
    {
        survive();
        return Files::rename(from, to);
    }
    std::error_code makeDirectory(const std::string& path) override
    {
        survive();
        return Files::makeDirectory(path);
    }

    int changesLeft = -1; // for ever

private:
    void survive()
    {
        if (changesLeft-- == 0) {
            throw Killed();
        }
    }
};

struct MortalDevice : networksimulation::Device
{
    networkhost::IFiles& files() override { return mortalFiles; }
    std::unique_ptr<networkhost::IHints> openHints() override { return IDevice::openHints(); } // none: it polls

    MortalFiles mortalFiles{*this};
};

networkhost::Outcome startTrial(networkhost::IDevice& device)
{
    return tryOut(device, networkhost::planIp(device, "remote", {"192.168.50.20", "255.255.255.0", false, ""}));
}

/// Runs it on a device with a trial if one is wanted, killed before its changes number 0, 1, ... until it gets through.
/// After each time the device is rebooted, or guarded to the end: `check` gets its files and how the trial ended.
int killAtEveryChange(bool hasTrial, bool isRebooted, const std::function<void(networkhost::IDevice&)>& run,
                      const std::function<void(const std::string& remote, TrialState::Kind kind)>& check)
{
    for (int killed = 0;; ++killed) {
        MortalDevice device;
        EXPECT_TRUE(!hasTrial || startTrial(device).isDone);
        device.mortalFiles.changesLeft = killed;
        bool isThrough = true;
        try {
            run(device);
        } catch (const Killed&) {
            isThrough = false;
        }
        device.mortalFiles.changesLeft = -1;
        if (isRebooted) {
            device.reboot();
        } else {
            networkhost::guardTrials(device, [](const std::string&) {});
        }
        SCOPED_TRACE("killed before change " + std::to_string(killed));
        check(device.textOf(kRemotePath), trialState(device).kind);
        if (isThrough) {
            return killed;
        }
    }
}

} // namespace

TEST(Trial, IsOldOrConfirmedWhereverItsProcessIsKilled)
{
    const auto old = networksimulation::Device().textOf(kRemotePath);
    for (const bool isRebooted : {false, true}) {
        const auto isOld = [&](const std::string& remote, TrialState::Kind kind) {
            EXPECT_EQ(remote, old);
            EXPECT_TRUE(kind == TrialState::Kind::None || kind == TrialState::Kind::RolledBack);
        };
        const auto isConfirmedOrOld = [&](const std::string& remote, TrialState::Kind kind) {
            EXPECT_EQ(remote == old, kind == TrialState::Kind::RolledBack);
            EXPECT_EQ(remote != old, kind == TrialState::Kind::Confirmed);
        };
        EXPECT_GT(killAtEveryChange(
                      false, isRebooted, [](auto& device) { startTrial(device); }, isOld),
                  5);
        EXPECT_GT(killAtEveryChange(
                      true, isRebooted, [](auto& device) { rollBack(device, "asked for"); }, isOld),
                  2);
        EXPECT_EQ(killAtEveryChange(
                      true, isRebooted, [](auto& device) { confirmTrial(device); }, isConfirmedOrOld),
                  2);
    }
}

TEST(Trial, IsNotConfirmedBeforeItWasLiveAndGoesBackAtOnceWhenItsProcessWasKilledBeforeThat)
{
    for (const int changes : {5, 6}) { // the record; the file as well
        MortalDevice device;
        const auto old = device.textOf(kRemotePath);
        device.mortalFiles.changesLeft = changes;
        EXPECT_THROW(startTrial(device), Killed);
        device.mortalFiles.changesLeft = -1;
        EXPECT_EQ(device.textOf(kRemotePath) == old, changes == 5);
        EXPECT_EQ(trialState(device).kind, TrialState::Kind::Waiting);
        EXPECT_THAT(confirmTrial(device).reason, testing::StartsWith("it has not been live yet"));
        const auto begin = device.now();
        networkhost::guardTrials(device, [](const std::string&) {});
        EXPECT_LT(device.now() - begin, std::chrono::seconds(5)); // not after the time to wait
        EXPECT_EQ(trialState(device).why, "its process ended before it was live");
        EXPECT_EQ(device.textOf(kRemotePath), old);
    }
}

TEST(Trial, IsRefusedWithTimesThatNobodyCouldWaitFor)
{
    using std::chrono::seconds;
    for (const auto& [time, wait] : {std::pair(seconds(0), seconds(30)), std::pair(seconds::max(), seconds(30)),
                                     std::pair(seconds(60), seconds(0)), std::pair(seconds(60), seconds(86401))}) {
        networksimulation::Device device;
        const auto plan = networkhost::planDnsDomain(device, "a.example");
        networkhost::TrialOptions options;
        options.time = time;
        options.wait = wait;
        EXPECT_EQ(tryOut(device, plan, options).reason,
                  "the time to confirm in and the time to wait are from 1 s to 24 h (86400 s)");
        EXPECT_FALSE(trialState(device).isPending());
    }
}

/// On which something happens at a time.
struct EventfulDevice : networksimulation::Device
{
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

TEST(Trial, GoesOnUntilTheDaemonsCanBeRestarted)
{
    EventfulDevice device;
    ASSERT_TRUE(startTrial(device).isDone);
    device.failCommand("sudo /bin/systemctl restart", "the bus is busy");
    device.time = device.now() + std::chrono::seconds(100); // 40 s after the time to confirm in
    device.event = [&device] {
        EXPECT_EQ(trialState(device).kind, TrialState::Kind::RollingBack);
        device.repair();
    };
    networkhost::guardTrials(device, [](const std::string&) {});
    EXPECT_EQ(trialState(device).why, "it was not confirmed in time");
    EXPECT_EQ(readLiveState(device).interfaces.at("remote").addresses.front().address, "192.168.50.100");
}

TEST(Trial, IsPendingUntilThePreviousSettingsAreLiveOrAnotherChangeFollows)
{
    EventfulDevice device;
    ASSERT_TRUE(startTrial(device).isDone);
    device.hang("systemd-networkd");
    EXPECT_EQ(rollBack(device, "asked for").reason, "the previous files are back, and the daemons have them, but the "
                                                    "live state lacks an address of remote by DHCP");
    EXPECT_THAT(trialState(device).text(),
                testing::EndsWith("is rolled back, but the previous settings are not live yet"));
    device.time = device.now() + std::chrono::seconds(100);
    device.event = [&device] { EXPECT_TRUE(networkhost::setDnsDomain(device, "a.example").isDone); };
    networkhost::guardTrials(device, [](const std::string&) {});
    EXPECT_EQ(trialState(device).why, "asked for");
}

TEST(Trial, GoesBackWithAllFilesButOneThatCannotBePutBack)
{
    EventfulDevice device;
    const auto old = device.textOf(kRemotePath);
    const std::string document = R"({"interfaces": {"local": {"address": "10.0.0.1/8", "routes": []},
        "remote": {"address": "192.168.50.20/24", "routes": []}}, "gateway": "192.168.50.1",
        "dns": {"servers": [], "domains": []}})";
    ASSERT_TRUE(tryOut(device, networkhost::planSettings(device, document)).isDone);
    device.failWrite("/etc/systemd/network/01_local.network", EROFS);
    device.time = device.now() + std::chrono::seconds(100);
    device.event = [&] {
        EXPECT_EQ(device.textOf(kRemotePath), old);
        EXPECT_EQ(readLiveState(device).interfaces.at("remote").addresses.front().address, "192.168.50.100");
        EXPECT_EQ(trialState(device).kind, TrialState::Kind::RollingBack);
        device.repair();
    };
    networkhost::guardTrials(device, [](const std::string&) {});
    EXPECT_EQ(readLiveState(device).interfaces.at("local").addresses.front().address, "192.168.10.1");
    EXPECT_EQ(trialState(device).kind, TrialState::Kind::RolledBack);
}

TEST(Trial, IsRefusedWhileAnotherIsPending)
{
    networksimulation::Device device;
    ASSERT_TRUE(startTrial(device).isDone);
    EXPECT_EQ(tryOut(device, networkhost::planDnsDomain(device, "a.example")).reason, trialState(device).text());
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

TEST(Record, IsOfNoUseWhenItIsDamagedOrNamesAFileOfSomebodyElse)
{
    networksimulation::Device device;
    ASSERT_TRUE(startTrial(device).isDone);
    const auto text = device.textOf(networkhost::kTrial);
    device.put(networkhost::kTrial, "{\n" + text.substr(1)); // still good JSON
    EXPECT_EQ(trialState(device).kind, TrialState::Kind::Unreadable);
    device.put(networkhost::kTrial, text);
    networkhost::Record record;
    ASSERT_FALSE(readRecord(device.files(), networkhost::kTrial, record));
    for (const char* path :
         {"/etc/passwd", "/etc/systemd/network/../passwd", "/etc/systemd/network/02_remote.network.d/x",
          "/etc/systemd/resolved.conf.d/dns_server_.conf"}) {
        record.files.front().path = path;
        ASSERT_FALSE(writeRecord(device.files(), networkhost::kTrial, record));
        EXPECT_EQ(trialState(device).kind, TrialState::Kind::Unreadable) << path;
    }
}

TEST(Plan, IsNotCarriedOutWhenAFileHasChangedSince)
{
    networksimulation::Device device;
    const auto plan = networkhost::planDnsDomain(device, "a.example");
    ASSERT_TRUE(networkhost::setDnsDomain(device, "b.example").isDone);
    EXPECT_EQ(networkhost::apply(device, plan).reason,
              "/etc/systemd/resolved.conf.d/dns_domain.conf is no longer as the "
              "plan saw it: somebody has changed it since");
}
