// SPDX-License-Identifier: MIT
#include "base/ExecuteCommand.h"

#include "base/CommandEnvironment.h"
#include "base/FileDescriptor.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velbase2::system {
namespace {

// The command runs in an inner shell. An outer shell reports its return code through a pipe, because the exit status of
// a child is lost in a host that ignores SIGCHLD or reaps every child.
//
//     host              outer shell             inner shell and command
//
//     /dev/null ------> 0 --------------------> 0
//     output <--------- 1 <-------------------- 1
//     error <---------- 3 <-------------------- 2
//     report <--------- 2  "status 7"
//
// The outer shell's own messages ("Killed", "Cannot fork") precede the status line in the report. Therefore errorOutput
// only has the text of the command. The redirections are within parentheses, because some shells apply those of a plain
// command to themselves.
constexpr const char* kShell = "/bin/sh";
constexpr const char* kSupervise = R"((exec /bin/sh -c -- "$1" 2>&3 3>&-); echo "status $?" >&2)";
constexpr std::string_view kStatusKey = "status ";
constexpr int kErrorFd = 3;
constexpr int kFirstFreeFd = 4;

// The capacity of a new pipe on Linux. One read of this size empties the pipe.
constexpr std::size_t kPipeCapacity = 65536;

// Another process may keep the pipe open after the outer shell has ended without a report. This is the interval of the
// checks for that.
constexpr int kLookMilliseconds = 1000;

/// A pipe from the command to the host, and what came through it.
struct Stream
{
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
    std::string text;

    /// 0 or an errno value.
    int open() noexcept
    {
        std::array<int, 2> fds{};
        if (::pipe2(fds.data(), O_CLOEXEC) != 0) {
            return errno;
        }
        readEnd.reset(fds[0]);
        // In a host without standard streams, the pipe must not get a number that the child's descriptors need.
        writeEnd.reset(atLeast(kFirstFreeFd, fds[1]));
        return writeEnd.isOpen() ? 0 : errno;
    }

    /// Reads what there is; closes the stream at its end.
    void read(std::vector<char>& buffer)
    {
        const ssize_t count = readUninterrupted(readEnd.get(), buffer.data(), buffer.size());
        if (count <= 0) {
            readEnd.reset(); // poll passes over it then
            return;
        }
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
};

struct Streams
{
    Stream output;
    Stream error;
    Stream report;

    std::array<Stream*, 3> all() { return {&output, &error, &report}; }

    /// Reads every stream that has something. False when none has within the time.
    bool readSome(std::vector<char>& buffer, int milliseconds)
    {
        std::array<pollfd, 3> states{
            {{output.readEnd.get(), POLLIN, 0}, {error.readEnd.get(), POLLIN, 0}, {report.readEnd.get(), POLLIN, 0}}};
        if (::poll(states.data(), states.size(), milliseconds) <= 0) {
            return false;
        }
        const auto streams = all();
        for (std::size_t i = 0; i < states.size(); ++i) {
            if (states[i].revents != 0) {
                streams[i]->read(buffer);
            }
        }
        return true;
    }
};

/// The outer shell. The destructor waits for it, so that no exception leaves a zombie.
class Child
{
public:
    Child() = default;
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() { reap(0); }

    void started(pid_t pid) noexcept { pid_ = pid; }
    bool hasEnded() noexcept { return reap(WNOHANG); }

    /// Waits for the end of the shell. Returns the signal that ended it, or 0 when there was none or when another
    /// thread has reaped the shell.
    int endingSignal() noexcept
    {
        reap(0);
        return WIFSIGNALED(status_) ? WTERMSIG(status_) : 0;
    }

private:
    /// False while the shell runs.
    bool reap(int options) noexcept
    {
        pid_t reaped = pid_;
        while (pid_ > 0 && (reaped = ::waitpid(pid_, &status_, options)) < 0 && errno == EINTR) {
        }
        if (reaped == 0) {
            return false;
        }
        pid_ = -1;
        return true;
    }

    pid_t pid_ = -1;
    int status_ = 0;
};

class SpawnPlan
{
public:
    SpawnPlan()
    {
        note(posix_spawnattr_init(&attributes_));
        note(posix_spawn_file_actions_init(&actions_));
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;
    ~SpawnPlan()
    {
        posix_spawn_file_actions_destroy(&actions_);
        posix_spawnattr_destroy(&attributes_);
    }

    void useDefaultSignals()
    {
        // sigfillset() leaves out the signals that libc uses itself. The command would then ignore them if the host
        // does.
        sigset_t signals;
        std::memset(&signals, 0xFF, sizeof signals);
        note(posix_spawnattr_setsigdefault(&attributes_, &signals));
        sigemptyset(&signals);
        note(posix_spawnattr_setsigmask(&attributes_, &signals));
        note(posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK));
    }

    void duplicate(int from, int onto) { note(posix_spawn_file_actions_adddup2(&actions_, from, onto)); }

    void readNull(int fd) { note(posix_spawn_file_actions_addopen(&actions_, fd, "/dev/null", O_RDONLY, 0)); }

    void closeAllFrom([[maybe_unused]] int first)
    {
#ifdef __GLIBC__
#if __GLIBC_PREREQ(2, 34)
        note(posix_spawn_file_actions_addclosefrom_np(&actions_, first));
#endif
#endif
        // With another libc, the command inherits the descriptors that the host opened without O_CLOEXEC.
    }

    /// 0 or an errno value.
    int run(const char* const* arguments, char* const* environment, pid_t& pid)
    {
        if (error_ != 0) {
            return error_;
        }
        // posix_spawn takes char* for historical reasons and does not write through it.
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast)
        return posix_spawn(&pid, kShell, &actions_, &attributes_, const_cast<char* const*>(arguments), environment);
    }

private:
    void note(int result)
    {
        if (error_ == 0) {
            error_ = result;
        }
    }

    posix_spawnattr_t attributes_{};
    posix_spawn_file_actions_t actions_{};
    int error_ = 0; // of the first call that failed
};

/// The command's return code. It is empty until the status line is complete.
std::optional<int> returnCodeIn(const std::string& report)
{
    const auto line = report.rfind(kStatusKey);
    if (line == std::string::npos || report.back() != '\n') {
        return std::nullopt;
    }
    return std::stoi(report.substr(line + kStatusKey.size()));
}

/// Reads until the report is complete, and then reads what is left in the other streams. It does not wait for the ends
/// of the streams. A daemon that the command started keeps its output open, and a child that the host forked meanwhile
/// keeps the report open.
void collect(Streams& streams, Child& shell)
{
    std::vector<char> buffer(kPipeCapacity);
    while (streams.report.readEnd.isOpen() && !returnCodeIn(streams.report.text)) {
        if (!streams.readSome(buffer, kLookMilliseconds) && shell.hasEnded()) {
            break;
        }
    }
    streams.readSome(buffer, 0);
}

CommandResult notStarted(const std::string& reason)
{
    return {-1, {}, "cannot start " + std::string(kShell) + ": " + reason + '\n'};
}

CommandResult notStarted(int error)
{
    return notStarted(std::generic_category().message(error));
}

} // namespace

CommandResult executeCommand(const std::string& command)
{
    if (command.find('\0') != std::string::npos) {
        return notStarted("the command holds a NUL byte"); // the shell would run the text before it
    }
    Child shell; // declared before the streams, which are therefore closed before the destructor waits
    Streams streams;
    for (Stream* stream : streams.all()) {
        if (const int failure = stream->open(); failure != 0) {
            return notStarted(failure);
        }
    }

    SpawnPlan plan;
    plan.useDefaultSignals();
    plan.readNull(STDIN_FILENO);
    plan.duplicate(streams.output.writeEnd.get(), STDOUT_FILENO);
    plan.duplicate(streams.report.writeEnd.get(), STDERR_FILENO);
    plan.duplicate(streams.error.writeEnd.get(), kErrorFd);
    plan.closeAllFrom(kFirstFreeFd);

    const std::array<const char*, 6> arguments{kShell, "-c", kSupervise, kShell, command.c_str(), nullptr};
    const CommandEnvironment environment;
    pid_t pid = -1;
    if (const int failure = plan.run(arguments.data(), environment.data(), pid); failure != 0) {
        return notStarted(failure);
    }
    shell.started(pid);
    for (Stream* stream : streams.all()) {
        stream->writeEnd.reset();
    }

    collect(streams, shell);
    CommandResult result{-1, std::move(streams.output.text), std::move(streams.error.text)};
    if (const auto code = returnCodeIn(streams.report.text)) {
        result.returnCode = *code;
    } else if (const int signal = shell.endingSignal(); signal != 0) {
        result.returnCode = 128 + signal; // for example by Ctrl-C to the host's process group
    } else {
        const std::string& words = streams.report.text;
        result.errorOutput += "cannot start " + std::string(kShell) + ": " + (words.empty() ? "no report\n" : words);
    }
    return result;
}

} // namespace velbase2::system
