// SPDX-License-Identifier: MIT
#include "networkhost/change/RollBack.h"

#include "base/Paths.h"
#include "networkhost/change/RollBackSteps.h"

#include <unistd.h>

namespace networkhost {

namespace paths = velbase2::system::paths;

Outcome rollBack(IDevice& device, const std::string& why)
{
    RollBackOptions options;
    Writer writer;
    // The user of the records may hold the lock for ever. Root does not wait for that user.
    options.breaksLock = !device.files().writerOf(paths::kTrial, writer) && writer.user != ::geteuid();
    options.endsWithoutTurn = options.breaksLock;
    return rollBackTrial(device, why, options);
}

} // namespace networkhost
