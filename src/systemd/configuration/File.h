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
    /// Copies the whole file into `out`. The error code of the failed open, or zero.
    std::error_code read(const std::filesystem::path& path, std::iostream& out) const;
};

} // namespace vel_systemd::configuration::file
