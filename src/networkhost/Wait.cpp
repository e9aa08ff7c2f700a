// SPDX-License-Identifier: MIT
#include "networkhost/Wait.h"

#include <algorithm>

namespace networkhost {

using std::chrono::milliseconds;

void waitUntil(IDevice& device, milliseconds limit, const std::function<bool()>& isOver)
{
    constexpr milliseconds kBetweenLooks(10); // when much changes; leaves the processor to the daemons
    constexpr milliseconds kSlow(1000);       // for what has no event
    constexpr milliseconds kWithoutHints(20);
    const auto start = device.now();
    const auto left = [&] { return limit - (device.now() - start); };
    if (isOver()) {
        return;
    }
    const auto hints = device.openHints(); // before the next look: nothing that changes after it is missed
    while (!isOver() && left() > milliseconds(0)) {
        if (hints && hints->take(std::min(kSlow, left()))) {
            device.pause(std::min(kBetweenLooks, left()));
            hints->take(milliseconds(0));
            hints->renew();
        } else if (!hints) {
            device.pause(std::min(kWithoutHints, left()));
        }
    }
}

} // namespace networkhost
