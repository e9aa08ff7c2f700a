// SPDX-License-Identifier: MIT
#pragma once

#include "IFiles.h"

#include <string>
#include <system_error>
#include <vector>

namespace networkhost {

/// The files of the device that the process runs on. Reads at most 16 MiB of a file and waits for no FIFO. A
/// symbolic link is replaced itself, not what it leads to. When only the sync of the directory failed, the file has
/// changed all the same.
class RealFiles : public IFiles
{
public:
    std::error_code read(const std::string& path, std::string& text) const override;
    std::error_code replace(const std::string& path, const std::string& text) override;
    std::error_code remove(const std::string& path) override;
    std::error_code list(const std::string& directory, std::vector<std::string>& names) const override;
};

} // namespace networkhost
