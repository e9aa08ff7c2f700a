// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/FileDescriptor.h"
#include "ActingAs.h"

#include <optional>
#include <string>
#include <system_error>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// The place of an existing or new file. Other users can no longer redirect it by changing names along the path. While
/// the object lives, the thread has the rights of the user into whose directories the path has led. A thread may have
/// one object at a time, and must not hand it to another thread.
struct ResolvedPath
{
    std::optional<ActingAs> rights; // set when root's path leads into another user's directory; destroyed last
    velbase2::system::FileDescriptor directory;
    std::string name; // in the directory; never that of a symbolic link
};

inline std::error_code errorOf(int value)
{
    return {value, std::generic_category()};
}

/// Resolves an absolute path. Follows a symbolic link only where nobody but root and the caller can have made it. Root
/// enters another user's directory with that user's rights, and enters no directory of its own that others may write
/// to. Returns ELOOP for a link or a directory that these rules exclude.
std::error_code resolve(const std::string& path, ResolvedPath& resolved);

} // namespace networkhost

#pragma GCC visibility pop
