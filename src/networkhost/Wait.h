// SPDX-License-Identifier: MIT
#pragma once

#include "IDevice.h"

#include <chrono>
#include <functional>

namespace networkhost {

/// Returns when isOver() is true, or the limit is over. It is asked at once, and whenever something may have changed.
void waitUntil(IDevice& device, std::chrono::milliseconds limit, const std::function<bool()>& isOver);

} // namespace networkhost
