// SPDX-License-Identifier: MIT
#include "Signals.h"

#include <cerrno>
#include <csignal>
#include <system_error>

#include <sys/signalfd.h>
#include <unistd.h>

namespace velnetctl {

velbase2::system::FileDescriptor openSignals(std::initializer_list<int> signals)
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : signals) {
        sigaddset(&set, signal);
    }
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    // One of the standard streams may be closed: the descriptor must not take its number.
    const int fd = velbase2::system::atLeast(STDERR_FILENO + 1, ::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
    if (fd < 0) {
        throw std::system_error(errno, std::generic_category(), "signalfd");
    }
    return velbase2::system::FileDescriptor(fd);
}

} // namespace velnetctl
