// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// The time since the boot. The clock goes on while the device sleeps.
std::chrono::milliseconds timeSinceBoot();

} // namespace networkhost

#pragma GCC visibility pop
