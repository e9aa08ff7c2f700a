// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/FileDescriptor.h"
#include "IHints.h"

#include <chrono>
#include <set>
#include <string>

#include <sys/inotify.h>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// Hints of the kernel about links, addresses, IPv4 routes, files and their directories. They need no privilege.
class RealHints : public IHints
{
public:
    /// Throws std::system_error when no descriptor or no watch is left.
    RealHints();

    int fd() const override { return both_.get(); }
    bool take(std::chrono::milliseconds limit) override { return takeKinds(limit).isAny; }
    TakenHints takeKinds(std::chrono::milliseconds limit) override;
    void rearm() override;

private:
    void takeKernelEvents(TakenHints& taken);
    void takeFileEvents(TakenHints& taken);
    bool isSettled(const ::inotify_event& event);
    void watchDirectory(const std::string& path, unsigned int entries);
    bool watch(const std::string& path, unsigned int events);

    velbase2::system::FileDescriptor kernel_;      // a route netlink socket
    velbase2::system::FileDescriptor directories_; // inotify
    velbase2::system::FileDescriptor both_;        // epoll
    std::set<int> watches_;
    std::set<int> rearmed_;
    bool isExhausted_ = false; // no inotify watch is left
    bool isWritten_ = false;   // since the last written file was closed
};

} // namespace networkhost

#pragma GCC visibility pop
