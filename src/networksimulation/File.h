// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <iosfwd>
#include <system_error>

namespace networksimulation {

/// Gives a loader the files of the simulated device that there is.
class File
{
public:
    std::error_code read(const std::filesystem::path& path, std::iostream& out) const;
};

} // namespace networksimulation
