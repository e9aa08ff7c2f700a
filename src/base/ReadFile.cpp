// SPDX-License-Identifier: MIT
#include "base/ReadFile.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <fcntl.h>

namespace velbase2::system {

// A file stream would not close on exec, and costs more. A refresh reads a dozen files.

FileDescriptor openForReading(const std::string& path)
{
    return FileDescriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
}

std::error_code readAll(int fd, std::string& text)
{
    text.clear();
    std::array<char, 4096> buffer; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by read
    while (text.size() < kMostOfAFile) {
        const auto count = readUninterrupted(fd, buffer.data(), std::min(buffer.size(), kMostOfAFile - text.size()));
        if (count < 0 && errno != EAGAIN) {
            return {errno, std::system_category()};
        }
        if (count <= 0) {
            break;
        }
        const auto size = text.size() + static_cast<std::size_t>(count);
        if (!text.empty() && size > text.capacity()) {
            // Growing in larger steps avoids copies of megabytes.
            text.reserve(text.size() + std::min(7 * size, kMostOfAFile - text.size()));
        }
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return {0, std::system_category()};
}

std::error_code readFile(const std::string& path, std::string& text)
{
    const FileDescriptor file = openForReading(path);
    if (!file.isOpen()) {
        text.clear();
        return {errno, std::system_category()};
    }
    return readAll(file.get(), text);
}

} // namespace velbase2::system
