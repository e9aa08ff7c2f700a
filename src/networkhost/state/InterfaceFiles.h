// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IFiles.h"
#include "Configuration.h"

#include <string>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// What systemd-networkd makes of the file of that name, such as "02_remote.network", and of its drop-ins, for that
/// interface.
ConfiguredInterface readInterface(const IReadableFiles& files, const std::string& interfaceName,
                                  const std::string& networkFile);

} // namespace networkhost

#pragma GCC visibility pop
