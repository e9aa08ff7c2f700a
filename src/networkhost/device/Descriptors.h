// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/FileDescriptor.h"

#pragma GCC visibility push(hidden)

/// Descriptors for event loops. They are closed at exec, and their numbers are above those of the standard streams,
/// even when the host has closed one of these. The functions throw std::system_error when no descriptor is left.
namespace networkhost {

/// Takes over the descriptor. A negative descriptor throws std::system_error with errno and the name of the call.
velbase2::system::FileDescriptor ownedOrThrow(const char* call, int fd);

velbase2::system::FileDescriptor openEpoll();

/// Makes the epoll descriptor readable while the other one is.
void addTo(int epoll, int fd);

/// From now on, makes the epoll descriptor readable for that one, or not.
void setHeard(int epoll, int fd, bool isHeard);

} // namespace networkhost

#pragma GCC visibility pop
