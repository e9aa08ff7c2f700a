// SPDX-License-Identifier: MIT
#include "networkhost/Guard.h"

#include "networkhost/Record.h"
#include "networkhost/RollBack.h"
#include "networkhost/Trial.h"

#include <algorithm>

namespace networkhost {

using std::chrono::milliseconds;

namespace {

constexpr const char* kBooted = "the device was started before it was confirmed";

std::string reasonOf(const TrialState& state)
{
    if (state.isOfEarlierBoot) {
        return kBooted;
    }
    return state.kind == TrialState::Kind::RollingBack ? "a roll-back that was broken off is finished"
                                                       : "it was not confirmed in time";
}

/// Says a line unless it is the one of before: what is tried again and again is told once.
class Reporter
{
public:
    explicit Reporter(const Say& say) : say_(say) {}

    void report(const std::string& line)
    {
        if (line != last_) {
            say_(line);
        }
        last_ = line;
    }

private:
    const Say& say_;
    std::string last_;
};

/// False when it has to be tried again.
bool rollBackAndReport(IDevice& device, const TrialState& state, const RollBackOptions& options, Reporter& reporter)
{
    const auto why = reasonOf(state);
    const auto outcome = rollBackTrial(device, why, options);
    for (const auto& note : outcome.notes) {
        reporter.report(note);
    }
    if (outcome.isDone) {
        reporter.report(state.title + " is rolled back: " + why);
        return true;
    }
    const auto now = trialState(device);
    const bool isMoved = now.kind != TrialState::Kind::RollingBack && now.left > milliseconds(0);
    if (!now.isPending() || isMoved) {
        return true; // somebody else has ended it, or moved its deadline
    }
    reporter.report(state.title + " is not rolled back: " + outcome.reason);
    return false;
}

} // namespace

void guardTrials(IDevice& device, const Say& say)
{
    constexpr milliseconds kPause(20);
    constexpr milliseconds kBetweenLooks(500);
    constexpr milliseconds kLongest(60000); // between tries
    constexpr int kMostRestarts = 5;
    Reporter reporter(say);
    std::unique_ptr<IFiles::Lock> lock;
    auto patience = milliseconds(1000);
    int tries = 0;
    for (auto state = trialState(device); state.isPending(); state = trialState(device)) {
        const bool isDue = state.kind == TrialState::Kind::RollingBack || state.left <= milliseconds(0);
        std::string holder;
        if (!lock && device.files().tryLock(kGuardLock, lock, holder) == std::errc::operation_would_block) {
            device.pause(kPause);
        } else if (state.kind == TrialState::Kind::Unreadable) {
            reporter.report(state.text());
            device.pause(kBetweenLooks);
        } else if (!isDue) {
            device.pause(std::min(kBetweenLooks, state.left));
        } else if (!rollBackAndReport(device, state, {true, true, true, ++tries > kMostRestarts}, reporter)) {
            device.pause(patience);
            patience = std::min(2 * patience, kLongest);
        }
    }
}

bool restoreAtBoot(IDevice& device, const Say& say)
{
    Reporter reporter(say);
    const auto state = trialState(device);
    if (state.kind == TrialState::Kind::Unreadable) {
        reporter.report(state.text());
        return false;
    }
    return !state.isPending() || !state.isOfEarlierBoot ||
           rollBackAndReport(device, state, {true, false, false, true}, reporter);
}

} // namespace networkhost
