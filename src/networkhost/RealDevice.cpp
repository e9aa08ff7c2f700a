// SPDX-License-Identifier: MIT
#include "networkhost/RealDevice.h"

#include <thread>

namespace networkhost {

std::chrono::milliseconds RealDevice::now() const
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch());
}

void RealDevice::pause(std::chrono::milliseconds duration)
{
    std::this_thread::sleep_for(duration);
}

} // namespace networkhost
