// SPDX-License-Identifier: MIT
#include "networkhost/device/ActingAs.h"

#include <mutex>

#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace networkhost {
namespace {

// The system calls change only this thread. The functions of libc would change all threads of the host. On 32-bit
// targets, the calls without "32" in their names take IDs of 16 bits.
#ifdef SYS_setgroups32
constexpr long kSetGroups = SYS_setgroups32;
constexpr long kSetUsers = SYS_setresuid32;
constexpr long kSetGroupIds = SYS_setresgid32;
#else
constexpr long kSetGroups = SYS_setgroups;
constexpr long kSetUsers = SYS_setresuid;
constexpr long kSetGroupIds = SYS_setresgid;
#endif

constexpr int kUnchanged = -1;

bool setGroups(const std::vector<gid_t>& groups)
{
    return ::syscall(kSetGroups, groups.size(), groups.data()) == 0;
}

/// Sets the effective user ID. A change away from root drops all effective capabilities, and a change back to root
/// restores them.
bool setUser(uid_t user)
{
    return ::syscall(kSetUsers, kUnchanged, user, kUnchanged) == 0;
}

bool setGroup(gid_t group)
{
    return ::syscall(kSetGroupIds, kUnchanged, group, kUnchanged) == 0;
}

/// The flag that allows a core dump of this process. All threads share it, and the kernel resets it at each change of
/// the user. Therefore the first acting thread saves the host's flag, and the last one restores it.
class Dumpable
{
public:
    void keep()
    {
        const std::lock_guard guard(mutex_);
        if (actors_++ == 0) {
            flag_ = ::prctl(PR_GET_DUMPABLE);
        }
    }

    void restore()
    {
        const std::lock_guard guard(mutex_);
        if (--actors_ == 0) {
            ::prctl(PR_SET_DUMPABLE, flag_ == 1 ? 1 : 0);
        }
    }

private:
    std::mutex mutex_;
    int actors_ = 0;
    int flag_ = 0;
};

Dumpable& dumpable()
{
    static Dumpable theDumpable;
    return theDumpable;
}

std::vector<gid_t> presentGroups()
{
    std::vector<gid_t> groups(static_cast<std::size_t>(::getgroups(0, nullptr)));
    groups.resize(static_cast<std::size_t>(::getgroups(static_cast<int>(groups.size()), groups.data())));
    return groups;
}

} // namespace

ActingAs::ActingAs(uid_t user, gid_t group) : user_(::geteuid()), group_(::getegid()), groups_(presentGroups())
{
    dumpable().keep();
    // The user is changed last, because another user than root cannot change the groups.
    isActing_ = ::prctl(PR_GET_PDEATHSIG, &deathSignal_) == 0 && setGroups({}) && setGroup(group) && setUser(user);
}

ActingAs::~ActingAs()
{
    setUser(user_);
    setGroup(group_);
    setGroups(groups_);
    dumpable().restore();
    ::prctl(PR_SET_PDEATHSIG, deathSignal_); // the kernel resets it when the user changes
}

} // namespace networkhost
