// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <ratio>

namespace velbase2::system::this_thread {

/// Sleeps for the whole duration, even when signals arrive.
void sleep_for(const std::chrono::duration<long long, std::ratio<1, 1000000000>>& duration);

} // namespace velbase2::system::this_thread
