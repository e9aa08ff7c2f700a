// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "../plan/Outcome.h"

#include <string>

namespace networkhost {

/// Ends the pending trial: brings the previous files back, byte for byte with mode and owner, and restarts the daemons.
/// Waits until the previous settings are live, at most 10 s; after that the guard goes on. A text that somebody else
/// has written meanwhile is kept beside the record. trialState() tells `why`.
Outcome rollBack(IDevice& device, const std::string& why);

} // namespace networkhost
