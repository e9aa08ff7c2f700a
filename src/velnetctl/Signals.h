// SPDX-License-Identifier: MIT
#pragma once

#include "base/FileDescriptor.h"

#include <initializer_list>

namespace velnetctl {

/// Blocks the signals, for all threads to come, and makes them readable. Throws std::system_error when there is no
/// descriptor to be had.
velbase2::system::FileDescriptor openSignals(std::initializer_list<int> signals);

} // namespace velnetctl
