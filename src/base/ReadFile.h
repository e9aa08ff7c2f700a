// SPDX-License-Identifier: MIT
#pragma once

#include "FileDescriptor.h"

#include <cstddef>
#include <string>
#include <system_error>

namespace velbase2::system {

inline constexpr std::size_t kMostOfAFile = std::size_t{16} << 20U; // bytes; an endless device must end somewhere

/// Opens a file for reading without waiting for anybody. Not open, with errno, on failure.
FileDescriptor openForReading(const std::string& path);

/// Replaces `text` by what can be read at once, at most kMostOfAFile. A FIFO yields what it holds, be it nothing.
/// The error code of the read that failed; `text` has what came before.
std::error_code readAll(int fd, std::string& text);

/// Both in one: the text of the file with its line ends. The error code of the open or the read that failed.
std::error_code readFile(const std::string& path, std::string& text);

} // namespace velbase2::system
