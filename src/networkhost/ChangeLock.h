// SPDX-License-Identifier: MIT
#pragma once

#include "IDevice.h"

#include <chrono>
#include <memory>
#include <string>

namespace networkhost {

/// Whoever changes the configuration through this library holds it: changes take turns, in other processes, too.
struct ChangeLock
{
    std::unique_ptr<IFiles::Lock> lock;
    std::string refusal; // who has it, in a sentence, when it was not to be had; otherwise empty
};

/// Waits for its turn.
ChangeLock lockChanges(IDevice& device, std::chrono::milliseconds limit = std::chrono::seconds(10));

} // namespace networkhost
