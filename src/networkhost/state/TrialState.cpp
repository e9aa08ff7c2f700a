// SPDX-License-Identifier: MIT
#include "networkhost/state/TrialState.h"

#include "base/Paths.h"
#include "networkhost/device/Failure.h"
#include "networkhost/state/TrialRecord.h"
#include "networkhost/state/Wait.h"
#include "networkhost/text/Words.h"

#include <algorithm>
#include <iterator>

namespace networkhost {

namespace paths = velbase2::system::paths;
using std::chrono::milliseconds;

bool TrialState::isPending() const
{
    return kind != Kind::None && kind != Kind::Confirmed && kind != Kind::RolledBack;
}

std::string TrialState::text() const
{
    const auto pending = "a trial is pending: " + title + ", by " + by;
    switch (kind) {
    case Kind::None:
        return "no trial is pending";
    case Kind::Waiting:
        return pending + "; it is not live yet, and is rolled back in " + secondsText(left);
    case Kind::Counting:
        return pending + "; it is rolled back in " + secondsText(left) + " unless it is confirmed (velnetctl confirm)";
    case Kind::RollingBack:
        return "a trial is pending: " + title +
               (isRestored ? " is rolled back, but the previous settings are not live yet" : " is being rolled back");
    case Kind::Unreadable:
        return "a trial is pending, but its record cannot be read: " + why;
    case Kind::Confirmed:
        return "no trial is pending; the last one, " + title + ", was confirmed";
    case Kind::RolledBack:
        return "no trial is pending; the last one, " + title + ", was rolled back: " + why;
    }
    return {};
}

const char* nameOf(TrialState::Kind kind)
{
    switch (kind) {
    case TrialState::Kind::None:
        return "none";
    case TrialState::Kind::Waiting:
        return "waiting";
    case TrialState::Kind::Counting:
        return "counting";
    case TrialState::Kind::RollingBack:
        return "rolling back";
    case TrialState::Kind::Unreadable:
        return "unreadable";
    case TrialState::Kind::Confirmed:
        return "confirmed";
    case TrialState::Kind::RolledBack:
        return "rolled back";
    }
    return "";
}

TrialState trialState(IDevice& device)
{
    using Kind = TrialState::Kind;
    struct Name
    {
        const char* path;
        Kind kind;
    };
    for (const auto& [path, kind] :
         {Name{paths::kTrial, Kind::Waiting}, Name{paths::kRollback, Kind::RollingBack},
          Name{paths::kConfirmed, Kind::Confirmed}, Name{paths::kRolledBack, Kind::RolledBack}}) {
        TrialRecord record;
        const auto error = readRecord(device.files(), path, record);
        if (error == std::errc::no_such_file_or_directory) {
            continue;
        }
        TrialState state;
        state.kind = kind;
        if (error) {
            state.kind = state.isPending() ? Kind::Unreadable : Kind::None;
            state.why = error == std::errc::bad_message
                            ? std::string("it is damaged; nothing is touched; look into ") + paths::kTrialDirectory +
                                  ", and remove trial and rollback there to go on"
                            : Failure{Failure::Step::ReadFile, path, error, {}}.text();
            return state;
        }
        state.kind = kind == Kind::Waiting && record.isLive ? Kind::Counting : kind;
        state.title = record.title;
        state.by = record.by;
        state.isOfEarlierBoot = record.boot != bootMark(device.files());
        state.isRestored = record.isRestored && areBack(device.files(), record.files);
        state.left = state.isOfEarlierBoot ? milliseconds(0) : record.deadline - device.now();
        state.why = record.why;
        std::transform(record.files.begin(), record.files.end(), std::back_inserter(state.files),
                       [](const auto& file) { return file.path; });
        return state;
    }
    return {};
}

TrialState endOfTrial(IDevice& device)
{
    constexpr milliseconds kLimit(30000);
    TrialState state;
    waitUntil(device, kLimit, [&] {
        state = trialState(device);
        const bool isOver = state.kind != TrialState::Kind::RollingBack;
        if (!isOver) {
            wakeGuard(device);
        }
        return isOver;
    });
    return state;
}

bool wakeGuard(IDevice& device)
{
    const auto state = trialState(device);
    if (!state.isPending() || state.kind == TrialState::Kind::Unreadable) {
        return true;
    }
    return device.startGuard([&device] {
        std::string holder;
        return device.files().probeLock(paths::kGuardLock, holder) == std::errc::operation_would_block ||
               !trialState(device).isPending(); // the trial has ended meanwhile
    });
}

} // namespace networkhost
