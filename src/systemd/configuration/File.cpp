// SPDX-License-Identifier: MIT
#include "systemd/configuration/File.h"

#include "base/ReadFile.h"

#include <cerrno>
#include <iostream>
#include <sstream>

namespace vel_systemd::configuration::file {

std::error_code File::read(const std::filesystem::path& path, std::iostream& out) const
{
    const auto file = velbase2::system::openForReading(path);
    if (!file.isOpen()) {
        return {errno, std::system_category()};
    }
    std::string text;
    const auto failure = velbase2::system::readAll(file.get(), text);
    // kept: inserting a stream buffer makes `out` fail when there is nothing to copy.
    std::stringbuf buffer(text);
    out << &buffer;
    if (failure) {
        out.setstate(std::ios_base::failbit);
    }
    return {0, std::system_category()};
}

} // namespace vel_systemd::configuration::file
