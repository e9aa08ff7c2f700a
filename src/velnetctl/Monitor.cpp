// SPDX-License-Identifier: MIT
#include "Monitor.h"

#include "Signals.h"
#include "Text.h"
#include "base/FileDescriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <iomanip>
#include <sstream>
#include <string_view>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velnetctl {
namespace {

/// Writes to the standard output, whose reader may stall, and listens to the signals that end the program.
class Output
{
public:
    explicit Output(int endSignals) : endSignals_(endSignals)
    {
        struct stat status = {};
        if (::fstat(STDOUT_FILENO, &status) == 0 && (S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode))) {
            // Opened again, because other processes share the open file and must not find it non-blocking.
            constexpr int kFlags = O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
            own_.reset(velbase2::system::atLeast(STDERR_FILENO + 1, ::open("/proc/self/fd/1", kFlags)));
        }
    }

    bool isGood() const { return isGood_; }

    /// Waits until the reader has taken the text. Does nothing once isGood() is false.
    void write(std::string_view text)
    {
        while (!text.empty() && isGood_) {
            isGood_ = isWritable();
            if (isGood_) {
                // Without a descriptor of its own: a writable pipe takes PIPE_BUF bytes without blocking.
                const auto count = ::write(own_.isOpen() ? own_.get() : STDOUT_FILENO, text.data(),
                                           std::min<std::size_t>(text.size(), PIPE_BUF));
                // A terminal may be reported as writable and still have too little room.
                isGood_ = count >= 0 || (errno == EAGAIN && !isAskedToEnd());
                text.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
            }
        }
    }

private:
    /// Waits a moment for an end signal.
    bool isAskedToEnd() const
    {
        constexpr int kPause = 10;
        pollfd end{endSignals_, POLLIN, 0};
        return ::poll(&end, 1, kPause) > 0;
    }

    /// Waits until the output is writable. After an end signal, it waits for a stalled reader only a moment longer.
    bool isWritable() const
    {
        constexpr int kPatience = 200;
        std::array<pollfd, 2> watched{{{STDOUT_FILENO, POLLOUT, 0}, {endSignals_, POLLIN, 0}}};
        ::poll(watched.data(), watched.size(), -1);
        if (watched[0].revents == 0) {
            ::poll(watched.data(), 1, kPatience);
        }
        return (watched[0].revents & POLLOUT) != 0;
    }

    int endSignals_;
    velbase2::system::FileDescriptor own_;
    bool isGood_ = true;
};

} // namespace

std::string headOf(const Change& change)
{
    std::ostringstream head;
    head << utcNow() << "  " << std::left << std::setw(10) << change.source << std::setw(12) << change.name;
    return head.str();
}

std::string lineOf(const Change& change, bool json)
{
    if (json) {
        return networkhost::dump(
                   {{"time", utcNow()}, {"source", change.source}, {"name", change.name}, {"value", change.value}}) +
               '\n';
    }
    return headOf(change) + change.text + '\n';
}

bool monitor(Session& session, bool json)
{
    const auto endSignals = openSignals({SIGINT, SIGTERM});
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN)); // write() reports that the reader is gone
    Output output(endSignals.get());
    Observer observer(session.device, [&](const Change& change) { output.write(lineOf(change, json)); });
    // Without requested events, poll only reports that the reader is gone.
    std::array<pollfd, 3> watched{{{endSignals.get(), POLLIN, 0}, {STDOUT_FILENO, 0, 0}, {observer.fd(), POLLIN, 0}}};
    while (output.isGood()) {
        ::poll(watched.data(), watched.size(), -1);
        if (watched[0].revents != 0 || watched[1].revents != 0) {
            return watched[0].revents != 0;
        }
        observer.dispatch();
    }
    return false;
}

} // namespace velnetctl
