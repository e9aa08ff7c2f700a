// SPDX-License-Identifier: MIT
#pragma once

#include "base/FileDescriptor.h"

#include <initializer_list>

namespace velnetctl {

/// Blocks the signals in this thread and in those that it starts, and makes them readable. Throws std::system_error
/// when no descriptor is left.
velbase2::system::FileDescriptor openSignals(std::initializer_list<int> signals);

} // namespace velnetctl
