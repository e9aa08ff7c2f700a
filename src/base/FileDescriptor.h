// SPDX-License-Identifier: MIT
#pragma once

#include <cerrno>
#include <cstddef>
#include <utility>

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

namespace velbase2::system {

/// Owns a file descriptor; -1 means none.
class FileDescriptor
{
public:
    explicit FileDescriptor(int fd = -1) noexcept : fd_(fd) {}
    FileDescriptor(FileDescriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { reset(); }

    int get() const noexcept { return fd_; }
    bool isOpen() const noexcept { return fd_ >= 0; }

    /// Hands the descriptor over to the caller.
    int release() noexcept { return std::exchange(fd_, -1); }

    void reset(int fd = -1) noexcept
    {
        if (isOpen()) {
            ::close(fd_);
        }
        fd_ = fd;
    }

private:
    int fd_;
};

/// Returns the descriptor if it is at least `lowest`. Otherwise replaces it by a copy that is. Returns -1 and sets
/// errno when that fails.
inline int atLeast(int lowest, int fd) noexcept
{
    if (fd < 0 || fd >= lowest) {
        return fd;
    }
    const int moved = ::fcntl(fd, F_DUPFD_CLOEXEC, lowest);
    const int error = errno;
    ::close(fd);
    errno = error;
    return moved;
}

/// Does what read(2) does, and repeats it after a signal.
inline ssize_t readUninterrupted(int fd, char* buffer, std::size_t size) noexcept
{
    ssize_t count = 0;
    do {
        count = ::read(fd, buffer, size);
    } while (count < 0 && errno == EINTR);
    return count;
}

} // namespace velbase2::system
