// SPDX-License-Identifier: MIT
#include "networkhost/change/Guard.h"

#include "base/Paths.h"
#include "networkhost/change/RollBackSteps.h"
#include "networkhost/device/SplitRights.h"
#include "networkhost/state/TrialRecord.h"
#include "networkhost/state/TrialState.h"

#include <algorithm>
#include <set>

namespace networkhost {

namespace paths = velbase2::system::paths;
using std::chrono::milliseconds;

namespace {

constexpr const char* kBooted = "the device was started before it was confirmed";

std::string reasonOf(IDevice& device, const TrialState& state)
{
    if (state.isOfEarlierBoot) {
        return kBooted;
    }
    if (state.kind == TrialState::Kind::RollingBack) {
        return state.why.empty() ? "a roll-back that was broken off is finished" : state.why;
    }
    if (state.kind == TrialState::Kind::Waiting) {
        return hasCaller(device.files()) ? "it was not live in time, and its process does not go on"
                                         : "its process ended before it was live";
    }
    return "it was not confirmed in time";
}

/// Whether the guard must roll back the trial. The caller of a waiting trial gets more time, because it may still ask
/// the neighbours for up to 3 s after its wait.
bool isDue(IDevice& device, const TrialState& state)
{
    constexpr milliseconds kForTheCaller(5000);
    switch (state.kind) {
    case TrialState::Kind::Waiting:
        return state.isOfEarlierBoot || state.left <= -kForTheCaller || !hasCaller(device.files());
    case TrialState::Kind::Counting:
        return state.left <= milliseconds(0);
    default:
        return true;
    }
}

/// Reports each line only once, because a roll-back may be tried many times.
class Reporter
{
public:
    explicit Reporter(const Report& report) : report_(report) {}

    void report(const std::string& line)
    {
        if (said_.insert(line).second) {
            report_(line);
        }
    }

private:
    const Report& report_;
    std::set<std::string> said_;
};

/// False when the roll-back has to be tried again.
bool rollBackAndReport(IDevice& device, const TrialState& state, const RollBackOptions& options, Reporter& reporter)
{
    const auto why = reasonOf(device, state);
    const auto outcome = rollBackTrial(device, why, options);
    for (const auto& note : outcome.notes) {
        reporter.report(note);
    }
    if (outcome.isDone) {
        reporter.report(state.title + " is rolled back: " + why);
        return true;
    }
    const auto now = trialState(device);
    if (!now.isPending() || !isDue(device, now)) {
        return true; // another process has ended the trial or moved its deadline
    }
    reporter.report(state.title + " is not rolled back: " + outcome.reason);
    return false;
}

/// Returns when no trial is pending.
void guardPending(IDevice& device, const Report& report)
{
    constexpr milliseconds kPause(20);
    constexpr milliseconds kBetweenLooks(500);
    constexpr milliseconds kShortest(1000); // between tries
    constexpr milliseconds kLongest(10000);
    Reporter reporter(report);
    RollBackOptions options;
    options.breaksLock = true;
    options.onlyWhenDue = true;
    std::unique_ptr<IFiles::Lock> lock;
    auto pause = kShortest;
    for (auto state = trialState(device); state.isPending(); state = trialState(device)) {
        std::string holder;
        if (!lock && device.files().tryLock(paths::kGuardLock, lock, holder) == std::errc::operation_would_block) {
            device.pause(kPause);
        } else if (state.kind == TrialState::Kind::Unreadable) {
            reporter.report(state.text());
            device.pause(kBetweenLooks);
        } else if (!isDue(device, state)) {
            const bool isCounting = state.kind == TrialState::Kind::Counting;
            device.pause(isCounting ? std::min(kBetweenLooks, state.left) : kBetweenLooks);
            pause = kShortest;
        } else if (!rollBackAndReport(device, state, options, reporter)) {
            device.pause(pause);
            pause = std::min(2 * pause, kLongest);
        }
    }
}

} // namespace

void guardTrials(IDevice& device, const Report& report)
{
    do {
        guardPending(device, report);
        // A trial may have begun after the last look, while this guard still had its lock. No other guard was started
        // for it.
    } while (trialState(device).isPending());
}

bool runGuard(IDevice& device, const Report& report)
{
    return splitRights(device, [&report](IDevice& own) { guardTrials(own, report); });
}

bool restoreAtBoot(IDevice& device, const Report& report)
{
    Reporter reporter(report);
    const auto state = trialState(device);
    if (state.kind == TrialState::Kind::Unreadable) {
        reporter.report(state.text());
        return false;
    }
    RollBackOptions options;
    options.breaksLock = true;
    options.isAtBoot = true;
    return !state.isPending() || !state.isOfEarlierBoot || rollBackAndReport(device, state, options, reporter);
}

} // namespace networkhost
