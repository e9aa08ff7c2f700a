// SPDX-License-Identifier: MIT
#include "networkhost/change/ChangeLock.h"

#include "base/Paths.h"
#include "networkhost/device/Failure.h"
#include "networkhost/state/TrialRecord.h"
#include "networkhost/state/Wait.h"

namespace networkhost {

namespace paths = velbase2::system::paths;
using std::chrono::milliseconds;

namespace {

std::string noTurn(const std::string& path, const std::error_code& error)
{
    return "no change can begin: " + Failure{Failure::Step::WriteFile, path, error, {}}.text();
}

ChangeLock lockWithin(IDevice& device, const char* path, milliseconds limit, const std::string& busy)
{
    constexpr milliseconds kPause(20);
    const auto end = device.now() + limit;
    for (;;) {
        ChangeLock result;
        std::string holder;
        const auto error = device.files().tryLock(path, result.lock, holder);
        if (!error) {
            return result;
        }
        if (error != std::errc::operation_would_block) {
            result.refusal = noTurn(path, error);
            return result;
        }
        if (device.now() >= end || isBrokenOff()) {
            result.refusal = busy + holder;
            return result;
        }
        device.pause(kPause);
    }
}

} // namespace

ChangeLock lockChanges(IDevice& device, milliseconds limit)
{
    if (const auto error = makeTrialDirectory(device.files())) {
        return {nullptr, noTurn(paths::kTrialDirectory, error)};
    }
    return lockWithin(device, paths::kChangeLock, limit, "another change is at work: ");
}

ChangeLock lockCaller(IDevice& device)
{
    return lockWithin(device, paths::kCallerLock, std::chrono::seconds(1), "another trial is about to begin: ");
}

} // namespace networkhost
