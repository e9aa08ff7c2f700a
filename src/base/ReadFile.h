// SPDX-License-Identifier: MIT
#pragma once

#include "FileDescriptor.h"

#include <cstddef>
#include <string>
#include <system_error>

namespace velbase2::system {

inline constexpr std::size_t kMostOfAFile = std::size_t{16} << 20U; // bytes; limits the read of an endless device

/// Opens a file for reading without waiting for another process. On failure, the result is not open and errno is set.
FileDescriptor openForReading(const std::string& path);

/// Replaces `text` by the bytes that can be read without waiting, at most kMostOfAFile. A FIFO gives its present
/// content, which may be empty. Returns the error of a failed read. `text` then has the bytes before it.
std::error_code readAll(int fd, std::string& text);

/// Opens the file and reads its text with the line ends. Returns the error of the open or the read that failed.
std::error_code readFile(const std::string& path, std::string& text);

} // namespace velbase2::system
