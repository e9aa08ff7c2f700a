// SPDX-License-Identifier: MIT
#include "networkhost/device/Descriptors.h"

#include <cerrno>
#include <system_error>

#include <sys/epoll.h>
#include <unistd.h>

namespace networkhost {

using velbase2::system::FileDescriptor;

FileDescriptor ownedOrThrow(const char* call, int fd)
{
    const int own = velbase2::system::atLeast(STDERR_FILENO + 1, fd);
    if (own < 0) {
        throw std::system_error(errno, std::generic_category(), call);
    }
    return FileDescriptor(own);
}

FileDescriptor openEpoll()
{
    return ownedOrThrow("epoll_create1", ::epoll_create1(EPOLL_CLOEXEC));
}

namespace {

void control(int epoll, int operation, int fd, bool isHeard)
{
    ::epoll_event event = {};
    if (isHeard) {
        event.events = EPOLLIN;
    }
    if (::epoll_ctl(epoll, operation, fd, &event) != 0) {
        throw std::system_error(errno, std::generic_category(), "epoll_ctl");
    }
}

} // namespace

void addTo(int epoll, int fd)
{
    control(epoll, EPOLL_CTL_ADD, fd, true);
}

void setHeard(int epoll, int fd, bool isHeard)
{
    control(epoll, EPOLL_CTL_MOD, fd, isHeard);
}

} // namespace networkhost
