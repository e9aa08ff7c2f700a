// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include <sys/types.h>

namespace networkhost {

/// As long as it lives, this thread of root works on files with the rights of another user, and with no more. For one
/// thread, which does not make a second one meanwhile.
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
    std::vector<gid_t> groups_; // of before
    bool isActing_ = false;
};

} // namespace networkhost
