// SPDX-License-Identifier: MIT
#pragma once

#include "IDevice.h"

#include <functional>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// Calls work(device). Where the records of trials belong to another user than the caller, which is root, the process
/// splits in two before: a child that has become this user calls it, and the caller, as root, runs the commands that
/// restart the daemons when the child asks for one, and nothing else. Without other threads only. False when the child
/// failed.
bool splitRights(IDevice& device, const std::function<void(IDevice& device)>& work);

} // namespace networkhost

#pragma GCC visibility pop
