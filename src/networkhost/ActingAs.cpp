// SPDX-License-Identifier: MIT
#include "networkhost/ActingAs.h"

#include <sys/fsuid.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace networkhost {
namespace {

constexpr auto kPresent = static_cast<uid_t>(-1); // changes nothing, and tells the present one

/// Of this thread only: the function of libc would change all threads of the host.
bool setGroups(const std::vector<gid_t>& groups)
{
#ifdef SYS_setgroups32
    constexpr long kSetGroups = SYS_setgroups32;
#else
    constexpr long kSetGroups = SYS_setgroups;
#endif
    return ::syscall(kSetGroups, groups.size(), groups.data()) == 0;
}

std::vector<gid_t> presentGroups()
{
    std::vector<gid_t> groups(static_cast<std::size_t>(::getgroups(0, nullptr)));
    groups.resize(static_cast<std::size_t>(::getgroups(static_cast<int>(groups.size()), groups.data())));
    return groups;
}

} // namespace

// The group first, and back last: without the user's rights neither can be changed.
ActingAs::ActingAs(uid_t user, gid_t group) : groups_(presentGroups())
{
    if (!setGroups({})) {
        return;
    }
    ::setfsgid(group);
    ::setfsuid(user);
    isActing_ = static_cast<uid_t>(::setfsuid(kPresent)) == user && static_cast<gid_t>(::setfsgid(kPresent)) == group;
}

ActingAs::~ActingAs()
{
    ::setfsuid(::geteuid());
    ::setfsgid(::getegid());
    setGroups(groups_);
}

} // namespace networkhost
