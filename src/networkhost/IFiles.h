// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <system_error>
#include <vector>

namespace networkhost {

/// Files, each as a whole. An operation that fails leaves files and results as they were and returns why, as an errno
/// value of the generic category. Paths are absolute. Thread-safe.
class IFiles
{
public:
    virtual ~IFiles() = default;

    /// The whole text, line ends included.
    virtual std::error_code read(const std::string& path, std::string& text) const = 0;

    /// Whoever reads, and whoever boots after a power cut, finds the old text or the new one, never a part. Keeps mode
    /// and owner of a file that is there; a new one gets mode 0644. Makes no directory. Of two at once, one is the
    /// last.
    virtual std::error_code replace(const std::string& path, const std::string& text) = 0;

    /// A file that is not there counts as removed.
    virtual std::error_code remove(const std::string& path) = 0;

    /// The names in a directory, in byte order.
    virtual std::error_code list(const std::string& directory, std::vector<std::string>& names) const = 0;
};

} // namespace networkhost
