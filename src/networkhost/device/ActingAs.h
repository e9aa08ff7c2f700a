// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include <sys/types.h>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// While an object lives, this thread of root has the rights of another user and no capabilities. A thread may have one
/// object at a time.
class ActingAs
{
public:
    ActingAs(uid_t user, gid_t group);
    ActingAs(const ActingAs&) = delete;
    ActingAs& operator=(const ActingAs&) = delete;
    ~ActingAs();

    /// False when the kernel refused the change. The caller must then do nothing.
    bool isActing() const { return isActing_; }

private:
    // The values of the thread before the change.
    uid_t user_;
    gid_t group_;
    std::vector<gid_t> groups_;
    int deathSignal_ = 0; // the signal that the kernel sends when the parent ends
    bool isActing_ = false;
};

} // namespace networkhost

#pragma GCC visibility pop
