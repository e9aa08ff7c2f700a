// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/FileDescriptor.h"

#pragma GCC visibility push(hidden)

/// Descriptors for event loops: closed at exec, and above the standard streams, one of which may be closed. They throw
/// std::system_error when there are none left.
namespace networkhost {

/// Takes the descriptor over. Throws std::system_error with errno and the name of the call for a negative one.
velbase2::system::FileDescriptor ownedOrThrow(const char* call, int fd);

velbase2::system::FileDescriptor openEpoll();

/// Makes the epoll descriptor readable while the other one is.
void addTo(int epoll, int fd);

} // namespace networkhost

#pragma GCC visibility pop
