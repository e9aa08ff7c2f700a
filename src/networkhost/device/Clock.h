// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>

namespace [[gnu::visibility("hidden")]] networkhost {

/// The time since the boot. Goes on while the device sleeps.
std::chrono::milliseconds timeSinceBoot();

} // namespace gnu::visibility("hidden")]]networkhost
