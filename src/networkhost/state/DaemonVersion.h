// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IFiles.h"

#include <optional>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// The version of systemd that systemd-networkd belongs to, such as 252. Nothing when its program does not tell. Starts
/// no process, and reads the program, which has some megabytes.
std::optional<int> networkdVersion(const IReadableFiles& files);

} // namespace networkhost

#pragma GCC visibility pop
