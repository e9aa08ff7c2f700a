// SPDX-License-Identifier: MIT
#include "networkhost/RealFiles.h"

#include "base/FileDescriptor.h"
#include "base/ReadFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace networkhost {

using velbase2::system::FileDescriptor;

namespace {

std::error_code lastError()
{
    return {errno, std::generic_category()};
}

std::string directoryOf(const std::string& path)
{
    return std::filesystem::path(path).parent_path().string();
}

bool writeAll(int fd, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = ::write(fd, text.data(), text.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

/// The mode and owner that the file at `path` has, or a new file's.
bool takeOverRights(int fd, const std::string& path)
{
    struct stat old = {};
    if (::stat(path.c_str(), &old) != 0) {
        return errno == ENOENT && ::fchmod(fd, 0644) == 0; // whatever the host's umask
    }
    // Whoever may not give a file away owns it already, or cannot keep its owner.
    const bool isOwned = ::fchown(fd, old.st_uid, old.st_gid) == 0 || old.st_uid == ::geteuid();
    return isOwned && ::fchmod(fd, old.st_mode & 07777U) == 0;
}

bool syncDirectory(const std::string& directory)
{
    const FileDescriptor fd(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return fd.isOpen() && ::fsync(fd.get()) == 0;
}

} // namespace

std::error_code RealFiles::read(const std::string& path, std::string& text) const
{
    std::string found;
    const auto error = velbase2::system::readFile(path, found);
    if (!error) {
        text = std::move(found);
    }
    return {error.value(), std::generic_category()};
}

std::error_code RealFiles::replace(const std::string& path, const std::string& text)
{
    auto beside = path + ".XXXXXX"; // neither networkd nor resolved reads a file of such a name
    const FileDescriptor fd(::mkostemp(beside.data(), O_CLOEXEC));
    if (!fd.isOpen()) {
        return lastError();
    }
    if (!takeOverRights(fd.get(), path) || !writeAll(fd.get(), text) || ::fsync(fd.get()) != 0 ||
        ::rename(beside.c_str(), path.c_str()) != 0) {
        const auto error = lastError();
        ::unlink(beside.c_str());
        return error;
    }
    return syncDirectory(directoryOf(path)) ? std::error_code() : lastError();
}

std::error_code RealFiles::remove(const std::string& path)
{
    if (::unlink(path.c_str()) != 0) {
        return errno == ENOENT ? std::error_code() : lastError();
    }
    return syncDirectory(directoryOf(path)) ? std::error_code() : lastError();
}

std::error_code RealFiles::list(const std::string& directory, std::vector<std::string>& names) const
{
    std::error_code error;
    std::vector<std::string> found;
    for (auto entry = std::filesystem::directory_iterator(directory, error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        found.push_back(entry->path().filename().string());
    }
    if (!error) {
        std::sort(found.begin(), found.end());
        names = std::move(found);
    }
    return error;
}

} // namespace networkhost
