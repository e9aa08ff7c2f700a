// SPDX-License-Identifier: MIT
#include "systemd/configuration/File.h"

#include <cerrno>
#include <fstream>
#include <iostream>

namespace vel_systemd::configuration::file {

std::error_code File::read(const std::filesystem::path& path, std::iostream& out) const
{
    const std::ifstream input(path);
    if (!input) {
        return {errno, std::system_category()};
    }
    out << input.rdbuf();
    return {0, std::system_category()};
}

} // namespace vel_systemd::configuration::file
