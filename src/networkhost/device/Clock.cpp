// SPDX-License-Identifier: MIT
#include "networkhost/device/Clock.h"

#include <ctime>

namespace networkhost {

std::chrono::milliseconds timeSinceBoot()
{
    ::timespec time = {};
    ::clock_gettime(CLOCK_BOOTTIME, &time);
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::seconds(time.tv_sec) +
                                                                 std::chrono::nanoseconds(time.tv_nsec));
}

} // namespace networkhost
