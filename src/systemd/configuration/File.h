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
    /// Copies the whole file, but no more than 16 MiB, into `out`, whose failbit is set when nothing was copied or a
    /// read failed. The error code of the failed open, or zero. Never waits for another process.
    std::error_code read(const std::filesystem::path& path, std::iostream& out) const;
};

} // namespace vel_systemd::configuration::file
