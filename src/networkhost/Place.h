// SPDX-License-Identifier: MIT
#pragma once

#include "../base/FileDescriptor.h"

#include <string>
#include <system_error>

namespace networkhost {

/// Where a file lies, or is to lie: nobody can lead it elsewhere any more by changing names on the way.
struct Place
{
    velbase2::system::FileDescriptor directory;
    std::string name; // in the directory; no symbolic link
};

/// Of an errno value.
inline std::error_code errorOf(int value)
{
    return {value, std::generic_category()};
}

enum class LastLink { IsFollowed, IsMeant };

/// Goes along an absolute path, through symbolic links of root and the caller only; ELOOP for others. A link as the
/// last part must lead to a file of root or the caller, or is itself what is meant.
std::error_code locate(const std::string& path, Place& place, LastLink lastLink = LastLink::IsFollowed);

} // namespace networkhost
