// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/FileDescriptor.h"
#include "ActingAs.h"

#include <optional>
#include <string>
#include <system_error>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// Where a file lies, or is to lie: nobody can lead it elsewhere any more by changing names on the way. As long as it
/// lives, the thread has the rights of the user whose directories it has come to. For one thread, one at a time.
struct ResolvedPath
{
    std::optional<ActingAs> rights; // root's way has led into a directory of another user; ends after the descriptor
    velbase2::system::FileDescriptor directory;
    std::string name; // in the directory; no symbolic link
};

inline std::error_code errorOf(int value)
{
    return {value, std::generic_category()};
}

/// Goes along an absolute path. Follows a symbolic link only where nobody but root and the caller can have put it. Root
/// goes into a directory of another user with that user's rights, and into no directory of its own that others may
/// write to. ELOOP for all of that.
std::error_code resolve(const std::string& path, ResolvedPath& resolved);

} // namespace networkhost

#pragma GCC visibility pop
