// SPDX-License-Identifier: MIT
#include "networksimulation/File.h"

#include "networksimulation/Device.h"

#include <iostream>

namespace networksimulation {

std::error_code File::read(const std::filesystem::path& path, std::iostream& out) const
{
    std::string text;
    const auto error = Device::current().files().read(path.string(), text);
    if (!error) {
        out << text;
    }
    return error;
}

} // namespace networksimulation
