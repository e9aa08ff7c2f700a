// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IFiles.h"

#include <string>
#include <system_error>
#include <vector>

#pragma GCC visibility push(hidden)

namespace networkhost {

struct SettingsFile
{
    std::string path;
    std::string text;
    std::error_code error; // why the text is empty: it could not be read
    bool isDropIn = false;
};

/// Reads the file of that name, such as "network/02_remote.network", and then its drop-ins, in the order in which
/// systemd's daemons read them. A file in /etc stands before one of the same name in /run and in /usr/lib.
std::vector<SettingsFile> readWithDropIns(const IReadableFiles& files, const std::string& name);

} // namespace networkhost

#pragma GCC visibility pop
