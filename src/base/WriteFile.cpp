// SPDX-License-Identifier: MIT
#include "base/WriteFile.h"

#include "base/FileDescriptor.h"
#include "base/ThisThread.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velbase2::system {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience{1};
constexpr std::chrono::milliseconds kBetweenTries{1};

/// Returns -1 and sets errno on failure.
int openOrCreate(const std::string& path, bool& isNew)
{
    constexpr int kFlags = O_WRONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    const int existing = ::open(path.c_str(), kFlags);
    if (existing >= 0 || errno != ENOENT) {
        return existing;
    }
    constexpr mode_t kMode = 0644; // the daemons do not run as root and must read it
    const int created = ::open(path.c_str(), kFlags | O_CREAT, kMode);
    if (created >= 0) {
        ::fchmod(created, kMode); // independent of the host's umask
        isNew = true;
    }
    return created;
}

/// Returns false and sets errno when the lock cannot be taken before the deadline.
bool lockUntil(Clock::time_point deadline, int fd)
{
    while (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            return true; // the file system has no locks: write without one
        }
        if (Clock::now() >= deadline) {
            return false;
        }
        this_thread::sleep_for(kBetweenTries);
    }
    return true;
}

/// False when the file was removed or replaced since it was opened.
bool isAt(const std::string& path, int fd)
{
    struct stat opened = {};
    struct stat present = {};
    return ::fstat(fd, &opened) == 0 && ::stat(path.c_str(), &present) == 0 && opened.st_dev == present.st_dev &&
           opened.st_ino == present.st_ino;
}

/// Opens the lock file in the directory of the file. Only users who may write there can open it. The result is not open
/// when the file is not a regular one, or when the lock file cannot be made.
FileDescriptor openLockFile(int file)
{
    constexpr int kFlags = O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
    struct stat status = {};
    std::array<char, PATH_MAX> real = {};
    const auto link = "/proc/self/fd/" + std::to_string(file);
    const ssize_t size = ::readlink(link.c_str(), real.data(), real.size());
    if (::fstat(file, &status) != 0 || !S_ISREG(status.st_mode) || size <= 0) {
        return FileDescriptor();
    }
    const std::string_view path(real.data(), static_cast<std::size_t>(size));
    const std::string directory(path.substr(0, path.rfind('/') + 1));
    const auto name = directory + ".velnet.lock";
    const int existing = ::open(name.c_str(), kFlags);
    if (existing >= 0 || errno != ENOENT) {
        return FileDescriptor(atLeast(STDERR_FILENO + 1, existing));
    }
    const int created = ::open(name.c_str(), kFlags | O_CREAT | O_EXCL, 0600);
    if (created < 0) { // another process was faster
        return FileDescriptor(atLeast(STDERR_FILENO + 1, ::open(name.c_str(), kFlags)));
    }
    struct stat parent = {};
    if (::stat(directory.c_str(), &parent) == 0 && ::fchown(created, parent.st_uid, parent.st_gid) == 0) {
        ::fchmod(created, (parent.st_mode & S_IWGRP) != 0 ? 0660 : 0600);
    }
    return FileDescriptor(atLeast(STDERR_FILENO + 1, created));
}

/// Two locks. They are released explicitly, because a child that the host has forked may still hold the descriptors.
struct Turn
{
    FileDescriptor file;
    FileDescriptor lockFile; // may be closed

    void release() const
    {
        ::flock(file.get(), LOCK_UN);
        ::flock(lockFile.get(), LOCK_UN);
    }
};

/// Opens and locks the file at `path`. On failure, its file is not open and errno is set.
Turn openLocked(const std::string& path, bool& isNew)
{
    const auto deadline = Clock::now() + kPatience;
    for (;;) {
        // In a host without standard streams, the file must not get the number of one. Otherwise output would end up in
        // the file.
        FileDescriptor file(atLeast(STDERR_FILENO + 1, openOrCreate(path, isNew)));
        if (!file.isOpen()) {
            return {std::move(file), FileDescriptor()};
        }
        FileDescriptor lockFile = openLockFile(file.get());
        Turn turn{std::move(file), std::move(lockFile)};
        const bool isFirst = turn.lockFile.isOpen() && lockUntil(deadline, turn.lockFile.get());
        const bool isWriter = isFirst || !turn.lockFile.isOpen();
        // Any user who may read the file can hold this lock. Therefore a holder of the lock file waits for it only
        // until the deadline, and then writes anyway.
        const bool isLocked = isWriter && (lockUntil(deadline, turn.file.get()) || isFirst);
        if (isLocked && isAt(path, turn.file.get())) {
            return turn;
        }
        turn.release();
        if (!isLocked || Clock::now() >= deadline) {
            turn.file.reset();
            errno = EWOULDBLOCK;
            return turn;
        }
    }
}

void writeAll(int fd, std::string_view content)
{
    while (!content.empty()) {
        const ssize_t count = ::write(fd, content.data(), content.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return;
        }
        content.remove_prefix(static_cast<std::size_t>(count));
    }
}

/// Syncs the directory of a file. The path may be a symbolic link to the file.
void syncDirectoryOf(const std::string& path)
{
    const std::unique_ptr<char, decltype(&std::free)> file(::realpath(path.c_str(), nullptr), &std::free);
    const std::string_view realPath = file ? file.get() : "";
    const std::string directory(realPath.substr(0, realPath.rfind('/') + 1));
    const FileDescriptor opened(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ::fsync(opened.get());
}

} // namespace

std::error_code writeFile(const std::string& path, std::string_view content)
{
    bool isNew = false;
    const auto turn = openLocked(path, isNew);
    const auto& file = turn.file;
    if (!file.isOpen()) {
        return {errno, std::system_category()};
    }
    if (::ftruncate(file.get(), 0) == 0 || errno == EINVAL) { // EINVAL: a device, which has nothing to truncate
        writeAll(file.get(), content);
    }
    turn.release(); // before the sync, because others need not wait for the disk
    ::fsync(file.get());
    if (isNew) {
        syncDirectoryOf(path);
    }
    return {0, std::system_category()};
}

} // namespace velbase2::system
