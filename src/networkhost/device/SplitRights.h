// SPDX-License-Identifier: MIT
#pragma once

#include "IDevice.h"

#include <functional>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// Calls work(device). If root calls this and the trial records belong to another user, the process forks first. The
/// child becomes this user and calls work(). The caller stays root, and only runs the commands that restart the daemons
/// when the child asks for them. The process must have no other threads. False when the child failed.
bool splitRights(IDevice& device, const std::function<void(IDevice& device)>& work);

} // namespace networkhost

#pragma GCC visibility pop
