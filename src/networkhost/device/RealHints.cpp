// SPDX-License-Identifier: MIT
#include "networkhost/device/RealHints.h"

#include "base/Paths.h"
#include "networkhost/device/Descriptors.h"
#include "networkmanager/BuiltInInterfaces.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <system_error>
#include <vector>

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/socket.h>

namespace networkhost {

namespace paths = velbase2::system::paths;
using velbase2::system::FileDescriptor;

namespace {

// IN_CLOSE_WRITE is not among the events. Taking a lock opens the lock file for writing and closes it, but changes
// nothing.
constexpr unsigned int kItself = IN_ONLYDIR | IN_MASK_ADD | IN_DELETE_SELF | IN_MOVE_SELF;
constexpr unsigned int kEntries = kItself | IN_MODIFY | IN_ATTRIB | IN_CREATE | IN_DELETE | IN_MOVE;
// For a file that is a symbolic link or a mount point: the watch on its directory does not report its changes.
constexpr unsigned int kFile = IN_MASK_ADD | IN_DELETE_SELF | IN_MOVE_SELF | IN_MODIFY | IN_ATTRIB;

/// The directories of all files that this library reads. The files in /proc and /sys are left out, because the netlink
/// socket reports their changes.
std::vector<std::string> directoriesOfFiles()
{
    const auto directoryOf = [](const std::string& path) { return path.substr(0, path.rfind('/')); };
    std::vector<std::string> directories;
    for (const char* path :
         {paths::kHostname, paths::kResolverFile, paths::kNetworkDirectory, paths::kResolverDirectory,
          paths::kTrialDirectory, paths::kTrial, paths::kLeases, paths::kResolverState}) {
        directories.push_back(directoryOf(path));
    }
    for (const auto& iface : networkmanager::kBuiltInInterfaces) {
        directories.push_back(directoryOf(paths::ofInterface(iface.networkFile, paths::kRoutesDropIn)));
    }
    return directories;
}

int openKernelEvents()
{
    const int fd = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
    ::sockaddr_nl address = {};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR | RTMGRP_IPV4_ROUTE |
                        1U << (RTNLGRP_NEXTHOP - 1); // a nexthop that ends removes its routes without a route event
    if (fd >= 0 && ::bind(fd, reinterpret_cast<const ::sockaddr*>(&address), sizeof address) != 0) {
        const FileDescriptor closed(fd);
        return -1;
    }
    return fd;
}

/// Takes one datagram from a socket, or as many inotify events as fit into the buffer. False when none is left.
bool takeOne(int fd, bool isSocket, char* buffer, std::size_t size)
{
    for (;;) {
        const auto count = isSocket ? ::recv(fd, nullptr, 0, MSG_TRUNC) : ::read(fd, buffer, size);
        if (count >= 0 || errno == ENOBUFS) { // a queue that overflowed is a hint as well
            return true;
        }
        if (errno != EINTR) {
            return false;
        }
    }
}

bool takeAll(int fd, bool isSocket)
{
    constexpr int kMost = 10000; // events that arrive faster than they are taken must not hold up the caller
    alignas(::inotify_event) std::array<char, 4096> buffer{};
    int count = 0;
    while (count < kMost && takeOne(fd, isSocket, buffer.data(), buffer.size())) {
        ++count;
    }
    return count > 0;
}

} // namespace

RealHints::RealHints()
    : kernel_(ownedOrThrow("netlink socket", openKernelEvents())),
      directories_(ownedOrThrow("inotify_init1", ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK))), both_(openEpoll())
{
    addTo(both_.get(), kernel_.get());
    addTo(both_.get(), directories_.get());
    RealHints::rearm();
    if (isExhausted_) { // with only some of the watches, changes would be missed
        throw std::system_error(ENOSPC, std::generic_category(), "inotify_add_watch");
    }
}

bool RealHints::take(std::chrono::milliseconds limit)
{
    ::pollfd either{both_.get(), POLLIN, 0};
    if (limit.count() > 0) {
        ::poll(&either, 1, static_cast<int>(std::min<std::chrono::milliseconds::rep>(limit.count(), INT_MAX)));
    }
    const bool isOfKernel = takeAll(kernel_.get(), true);
    return takeAll(directories_.get(), false) || isOfKernel;
}

void RealHints::rearm()
{
    rearmed_.clear();
    for (const auto& directory : directoriesOfFiles()) {
        watchDirectory(directory);
    }
    watch(paths::kHostname, kFile);
    watch(paths::kResolverFile, kFile);
    for (const auto& iface : networkmanager::kBuiltInInterfaces) {
        for (const char* suffix : paths::kInLoadingOrder) {
            watch(paths::ofInterface(iface.networkFile, suffix), kFile);
        }
    }
    for (const int watch : watches_) {
        if (rearmed_.count(watch) == 0) {
            ::inotify_rm_watch(directories_.get(), watch); // its directory has been moved or removed
        }
    }
    watches_ = rearmed_;
}

/// Watches each directory from the root to this path. A part of the path may be replaced, moved or missing, and its
/// successor is noticed.
void RealHints::watchDirectory(const std::string& path)
{
    std::string parent = "/";
    watch(parent, kItself);
    for (std::size_t end = 0; end != std::string::npos;) {
        end = path.find('/', end + 1);
        const auto part = path.substr(0, end);
        if (!watch(part, end == std::string::npos ? kEntries : kItself)) {
            watch(parent, kEntries);
            if (!watch(part, kItself)) { // it may have appeared before its parent was watched
                return;
            }
            watch(part, kEntries);
        }
        parent = part;
    }
}

bool RealHints::watch(const std::string& path, unsigned int events)
{
    const int watch = ::inotify_add_watch(directories_.get(), path.c_str(), events);
    if (watch >= 0) {
        rearmed_.insert(watch);
    } else if (errno == ENOSPC || errno == ENOMEM) {
        isExhausted_ = true;
    }
    return watch >= 0;
}

} // namespace networkhost
