// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <iosfwd>
#include <system_error>

namespace vel_systemd::configuration::file {

/// The file access of the backend.
class File
{
public:
    /// Copies the file into `out`, at most 16 MiB. Sets the failbit of `out` when nothing was copied or a read failed.
    /// Returns the error of a failed open, or zero. Never waits for another process.
    std::error_code read(const std::filesystem::path& path, std::iostream& out) const;
};

} // namespace vel_systemd::configuration::file
