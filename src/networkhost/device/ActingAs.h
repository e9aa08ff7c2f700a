// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include <sys/types.h>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// As long as it lives, this thread of root has the rights of another user and no capability. One at a time for each
/// thread.
class ActingAs
{
public:
    ActingAs(uid_t user, gid_t group);
    ActingAs(const ActingAs&) = delete;
    ActingAs& operator=(const ActingAs&) = delete;
    ~ActingAs();

    /// False when the kernel refused it: nothing must be done then.
    bool isActing() const { return isActing_; }

private:
    uid_t user_; // the thread's own, and what follows
    gid_t group_;
    std::vector<gid_t> groups_;
    int deathSignal_ = 0; // to be sent when the parent ends
    bool isActing_ = false;
};

} // namespace networkhost

#pragma GCC visibility pop
