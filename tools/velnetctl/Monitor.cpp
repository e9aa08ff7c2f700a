// SPDX-License-Identifier: MIT
#include "Monitor.h"

#include "base/FileDescriptor.h"
#include "networkhost/Cells.h"
#include "networkmanager/NetworkManager.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <iomanip>

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace velnetctl {
namespace {

/// The present time as in 2026-05-04T09:08:07.006Z.
std::string timeStamp()
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto sinceEpoch = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch());
    std::tm utc{};
    ::gmtime_r(&seconds, &utc);
    std::array<char, sizeof "2026-05-04T09:08:07"> text{};
    static_cast<void>(std::strftime(text.data(), text.size(), "%FT%T", &utc));
    return text.data() + ('.' + std::to_string(1000 + sinceEpoch.count() % 1000).substr(1)) + 'Z';
}

/// Blocks the signals that end the process, for all threads to come, and makes them readable.
int openEndSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    // Above the standard streams, one of which may be closed.
    return velbase2::system::atLeast(STDERR_FILENO + 1, ::signalfd(-1, &signals, SFD_CLOEXEC));
}

/// Waits for an end signal, or for the end of all readers of standard output. True for the signal.
bool awaitEnd(int endSignals)
{
    // Without events asked for, poll reports only that a descriptor is broken.
    std::array<pollfd, 2> watched{{{endSignals, POLLIN, 0}, {STDOUT_FILENO, 0, 0}}};
    while (::poll(watched.data(), watched.size(), -1) < 0) {
    }
    return watched[0].revents != 0;
}

} // namespace

bool ChangePrinter::isComplete()
{
    // Not for long: a reader that stalls holds the lock up for as long as it likes.
    const std::unique_lock guard(lock_, std::chrono::milliseconds(200));
    return guard.owns_lock() && output_.good();
}

void ChangePrinter::printLine(const std::string& source, const char* cell, const std::string& text, const Json& value)
{
    const std::lock_guard guard(lock_);
    if (json_) {
        output_ << dump({{"time", timeStamp()}, {"source", source}, {"name", cell}, {"value", value}});
    } else {
        output_ << timeStamp() << "  " << std::left << std::setw(8) << source << std::setw(12) << cell << text;
    }
    output_ << '\n' << std::flush;
    if (!output_) {
        ::kill(::getpid(), SIGTERM); // nobody reads any more
    }
}

void monitor(std::ostream& output, bool json)
{
    const int endSignals = openEndSignals();          // before the manager starts its thread
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN)); // a reader that is gone shows in the stream
    ChangePrinter printer(output, json);
    networkmanager::detail::NetworkManager<networkmanager::NetworkManagerData> manager;
    networkhost::connectToEachCell(manager, [&printer](const std::string& source, const char* cell,
                                                       const auto& content) { printer.print(source, cell, content); });
    manager.start();

    const bool isAskedToEnd = awaitEnd(endSignals);
    // Without stop(), which waits for the manager's thread to wake up: nothing of this process is worth 2 seconds.
    std::_Exit(isAskedToEnd && printer.isComplete() ? EXIT_SUCCESS : EXIT_FAILURE);
}

} // namespace velnetctl
