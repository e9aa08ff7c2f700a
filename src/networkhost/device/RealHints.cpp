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
#include <utility>
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

constexpr unsigned int kItself = IN_ONLYDIR | IN_MASK_ADD | IN_DELETE_SELF | IN_MOVE_SELF;
constexpr unsigned int kEntries = kItself | IN_MODIFY | IN_ATTRIB | IN_CREATE | IN_DELETE | IN_MOVE | IN_CLOSE_WRITE;
// For a directory of locks: taking one opens its file for writing and closes it, but changes nothing.
constexpr unsigned int kEntriesButClosing = kEntries & ~static_cast<unsigned int>(IN_CLOSE_WRITE);
// For a file that is a symbolic link or a mount point: the watch on its directory does not report its changes.
constexpr unsigned int kFile = IN_MASK_ADD | IN_DELETE_SELF | IN_MOVE_SELF | IN_MODIFY | IN_ATTRIB | IN_CLOSE_WRITE;

std::string directoryOf(const std::string& path)
{
    return path.substr(0, path.rfind('/'));
}

/// The directories of all files that this library reads, without that of the records of trials. The files in /proc and
/// /sys are left out, because the netlink socket reports their changes.
std::vector<std::string> directoriesOfFiles()
{
    std::vector<std::string> directories;
    for (const char* path : {paths::kHostname, paths::kResolverFile, paths::kTrialDirectory, paths::kLinks,
                             paths::kLeases, paths::kResolverState}) {
        directories.push_back(directoryOf(path));
    }
    for (const std::string directory : paths::kDaemonDirectories) {
        directories.push_back(directory + "resolved.conf.d");
        directories.push_back(directory + "network");
        for (const auto& iface : networkmanager::kBuiltInInterfaces) {
            directories.push_back(directory + "network/" + iface.networkFile + ".d");
        }
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

/// Receives or reads into the buffer. Returns the number of bytes, which for a datagram may be more than the size, 0
/// for a queue that overflowed, and -1 when nothing is left.
template <class Take>
ssize_t takeOne(Take takeInto)
{
    for (;;) {
        const auto count = takeInto();
        if (count >= 0 || errno != EINTR) {
            return count < 0 && errno == ENOBUFS ? 0 : count;
        }
    }
}

constexpr int kMost = 10000; // events that arrive faster than they are taken must not hold up the caller

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

TakenHints RealHints::takeKinds(std::chrono::milliseconds limit)
{
    ::pollfd either{both_.get(), POLLIN, 0};
    if (limit.count() > 0) {
        ::poll(&either, 1, static_cast<int>(std::min<std::chrono::milliseconds::rep>(limit.count(), INT_MAX)));
    }
    TakenHints taken;
    takeKernelEvents(taken);
    takeFileEvents(taken);
    return taken;
}

void RealHints::takeKernelEvents(TakenHints& taken)
{
    for (int count = 0; count < kMost; ++count) {
        ::nlmsghdr header = {};
        const auto size = takeOne([&] { return ::recv(kernel_.get(), &header, sizeof header, MSG_TRUNC); });
        if (size < 0) {
            return;
        }
        taken.isAny = true;
        taken.isSettled = true;
        taken.isOfLink |= size == 0 || header.nlmsg_type == RTM_NEWLINK || header.nlmsg_type == RTM_DELLINK;
    }
}

void RealHints::takeFileEvents(TakenHints& taken)
{
    alignas(::inotify_event) std::array<char, 4096> buffer{};
    for (int count = 0; count < kMost; ++count) {
        const auto size = takeOne([&] { return ::read(directories_.get(), buffer.data(), buffer.size()); });
        if (size <= 0) {
            return;
        }
        for (ssize_t position = 0; position < size;) {
            const auto& event = *reinterpret_cast<const ::inotify_event*>(buffer.data() + position);
            position += static_cast<ssize_t>(sizeof event + event.len);
            if ((event.mask & IN_IGNORED) == 0) { // another event has told why the watch has ended
                taken.isAny = true;
                taken.isOfFile = true;
                taken.isSettled |= isSettled(event);
            }
        }
    }
}

/// False while a file is being written: its content may be incomplete. Writers replace a file by a hidden one.
bool RealHints::isSettled(const ::inotify_event& event)
{
    if (event.len > 0 && event.name[0] == '.') {
        return false;
    }
    if ((event.mask & IN_MODIFY) != 0) {
        isWritten_ = true;
        return false;
    }
    if ((event.mask & IN_CLOSE_WRITE) != 0) {
        return std::exchange(isWritten_, false);
    }
    const bool isNewFile = (event.mask & IN_CREATE) != 0 && (event.mask & IN_ISDIR) == 0;
    return !isNewFile && (event.mask & IN_ATTRIB) == 0;
}

void RealHints::rearm()
{
    rearmed_.clear();
    for (const auto& directory : directoriesOfFiles()) {
        watchDirectory(directory, kEntries);
    }
    watchDirectory(paths::kTrialDirectory, kEntriesButClosing);
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
void RealHints::watchDirectory(const std::string& path, unsigned int entries)
{
    std::string parent = "/";
    watch(parent, kItself);
    for (std::size_t end = 0; end != std::string::npos;) {
        end = path.find('/', end + 1);
        const auto part = path.substr(0, end);
        if (!watch(part, end == std::string::npos ? entries : kItself)) {
            watch(parent, kEntriesButClosing);
            if (!watch(part, kItself)) { // it may have appeared before its parent was watched
                return;
            }
            watch(part, entries);
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
