// SPDX-License-Identifier: MIT
#include "networkhost/state/Wait.h"

#include <algorithm>
#include <memory>
#include <system_error>

namespace networkhost {

using std::chrono::milliseconds;

namespace {

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): many calls lie between the setter and a wait
thread_local IWaiting* theWaiting = nullptr;

/// Reports the begin and the end of one wait to the thread's IWaiting, if there is one.
class ToldWait
{
public:
    ToldWait()
    {
        if (theWaiting != nullptr) {
            theWaiting->begin();
        }
    }
    ToldWait(const ToldWait&) = delete;
    ToldWait& operator=(const ToldWait&) = delete;
    ~ToldWait()
    {
        if (theWaiting != nullptr) {
            theWaiting->end();
        }
    }
};

/// Returns no hints when the device has none, or when no descriptor is left.
std::unique_ptr<IHints> openHints(IDevice& device)
{
    try {
        return device.openHints();
    } catch (const std::system_error&) {
        return nullptr;
    }
}

} // namespace

void setWaiting(IWaiting* waiting)
{
    theWaiting = waiting;
}

bool isBrokenOff()
{
    return theWaiting != nullptr && theWaiting->isBrokenOff();
}

void waitUntil(IDevice& device, milliseconds limit, const std::function<bool()>& isOver)
{
    constexpr milliseconds kBetweenLooks(10); // in a burst of changes; leaves time to the daemons
    constexpr milliseconds kWithoutHints(20);
    constexpr milliseconds kSlow(1000); // between looks, for changes without a hint
    const auto step = theWaiting == nullptr ? kSlow : kSlow / 10;
    const auto start = device.now();
    const auto left = [&] { return limit - (device.now() - start); };
    if (isOver()) {
        return;
    }
    const ToldWait told;
    const auto hints = openHints(device); // before the next look: no later change is missed
    auto look = start;
    for (bool isDue = true; !(isDue && isOver()) && left() > milliseconds(0) && !isBrokenOff();) {
        look = isDue ? device.now() : look;
        if (!hints) {
            device.pause(std::min(kWithoutHints, left()));
            isDue = true;
        } else if (hints->take(std::min(step, left()))) {
            device.pause(std::min(kBetweenLooks, left()));
            hints->take(milliseconds(0));
            hints->rearm();
            isDue = true;
        } else {
            isDue = device.now() - look >= kSlow || left() <= milliseconds(0);
        }
    }
}

} // namespace networkhost
