// SPDX-License-Identifier: MIT
#include "base/ThisThread.h"

#include <thread>

namespace velbase2::system::this_thread {

void sleep_for(const std::chrono::duration<long long, std::ratio<1, 1000000000>>& duration)
{
    std::this_thread::sleep_for(duration);
}

} // namespace velbase2::system::this_thread
