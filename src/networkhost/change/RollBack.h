// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "../plan/Outcome.h"

#include <string>

namespace networkhost {

/// Brings the previous files back, byte for byte with mode and owner, restarts the daemons, and waits until the live
/// state shows them, 10 s at most; the guard goes on then. Texts that somebody else has written meanwhile are kept
/// beside the record. `why` is told to whoever asks.
Outcome rollBack(IDevice& device, const std::string& why);

} // namespace networkhost
