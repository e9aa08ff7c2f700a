// SPDX-License-Identifier: MIT
#include "networkhost/device/ResolvedPath.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <deque>
#include <filesystem>
#include <iterator>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace networkhost {

using velbase2::system::FileDescriptor;

namespace {

constexpr int kPathFlags = O_PATH | O_CLOEXEC;
constexpr int kMostLinks = 40; // the same limit as in the kernel

/// The state of a walk along a path.
struct Walk
{
    std::deque<std::string> parts; // the rest of the path
    FileDescriptor directory;      // the directory reached
    uid_t user = ::geteuid();      // the user whose rights the walk has
    int links = 0;
    bool isOpenToAll = false; // other users may change names in a directory of the path
};

bool isTrusted(const struct stat& status, const Walk& walk)
{
    return status.st_uid == 0 || status.st_uid == walk.user;
}

void putInFront(std::deque<std::string>& parts, const std::filesystem::path& path)
{
    std::deque<std::string> inFront;
    std::copy_if(path.begin(), path.end(), std::back_inserter(inFront), [](const auto& part) { return !part.empty(); });
    parts.insert(parts.begin(), inFront.begin(), inFront.end());
}

/// Continues with the target of the open symbolic link.
std::error_code follow(const FileDescriptor& link, const struct stat& status, Walk& walk)
{
    if (++walk.links > kMostLinks || walk.isOpenToAll || !isTrusted(status, walk)) {
        return errorOf(ELOOP);
    }
    std::array<char, PATH_MAX> target = {};
    const ssize_t size = ::readlinkat(link.get(), "", target.data(), target.size());
    if (size <= 0) {
        return errorOf(size < 0 ? errno : ENOENT);
    }
    putInFront(walk.parts, std::string(target.data(), static_cast<std::size_t>(size)));
    return {};
}

/// Enters the open directory. From here on, its owner decides about the names in it.
std::error_code enter(FileDescriptor& directory, const struct stat& status, Walk& walk, ResolvedPath& resolved)
{
    if (walk.user == 0 && status.st_uid != 0) {
        resolved.rights.emplace(status.st_uid, status.st_gid);
        walk.user = status.st_uid;
        if (!resolved.rights->isActing()) {
            return errorOf(EPERM);
        }
    }
    const bool isSticky = (status.st_mode & S_ISVTX) != 0; // users cannot change each other's names
    const bool isOfGroup = (status.st_mode & S_IWGRP) != 0 && status.st_gid != 0;
    const bool isOfAll = (status.st_mode & S_IWOTH) != 0;
    if (!isTrusted(status, walk) || ((isOfGroup || isOfAll) && !isSticky)) {
        walk.isOpenToAll = true;
        if (walk.user == 0) {
            return errorOf(ELOOP);
        }
    }
    walk.directory.reset(directory.release());
    return {};
}

std::error_code arrive(const Walk& walk, const std::string& name, ResolvedPath& resolved)
{
    resolved.directory.reset(::openat(walk.directory.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    resolved.name = name;
    return errorOf(resolved.directory.isOpen() ? 0 : errno);
}

} // namespace

std::error_code resolve(const std::string& path, ResolvedPath& resolved)
{
    Walk walk;
    putInFront(walk.parts, path);
    while (!walk.parts.empty()) {
        const auto part = walk.parts.front();
        walk.parts.pop_front();
        const bool isLast = walk.parts.empty();
        const bool isRoot = part == "/";
        FileDescriptor next(isRoot ? ::open("/", kPathFlags | O_DIRECTORY)
                                   : ::openat(walk.directory.get(), part.c_str(), kPathFlags | O_NOFOLLOW));
        struct stat status = {};
        if (!next.isOpen() || ::fstat(next.get(), &status) != 0) {
            const int error = errno;
            return isLast && error == ENOENT ? arrive(walk, part, resolved) : errorOf(error);
        }
        std::error_code error;
        if (S_ISLNK(status.st_mode)) {
            error = follow(next, status, walk);
        } else if (isLast && !isRoot) {
            next.reset(); // a removal must not need more descriptors than the write before it
            return arrive(walk, part, resolved);
        } else {
            error = enter(next, status, walk, resolved);
        }
        if (error) {
            return error;
        }
    }
    return errorOf(EISDIR);
}

} // namespace networkhost
