// SPDX-License-Identifier: MIT
#include "base/ExecuteCommand.h"

#include "base/FileDescriptor.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velbase2::system {
namespace {

// The command runs in a shell of its own, below a shell that reports its return code through a pipe: the exit status of
// a child is lost in a host that ignores SIGCHLD or reaps every child. What the outer shell itself has to say
// ("Killed") goes to /dev/null, so that errorOutput is the command's alone; the redirections stand within parentheses,
// because some shells apply those of a plain command to themselves.
constexpr const char* kShell = "/bin/sh";
constexpr const char* kSupervise = R"((exec /bin/sh -c -- "$1" 2>&4 3>&- 4>&-); echo "$?" >&3)";
constexpr int kStatusFd = 3;
constexpr int kErrorFd = 4;
constexpr int kFirstFreeFd = 5;

// Linux gives a new pipe this capacity; one read of this size takes all that it holds.
constexpr std::size_t kPipeCapacity = 65536;

struct Pipe
{
    FileDescriptor readEnd;
    FileDescriptor writeEnd;

    /// 0 or an errno value.
    int open() noexcept
    {
        std::array<int, 2> fds{};
        if (::pipe2(fds.data(), O_CLOEXEC) != 0) {
            return errno;
        }
        readEnd.reset(fds[0]);
        // In a host without standard streams: keep clear of the numbers that the child's descriptors get.
        writeEnd.reset(atLeast(kFirstFreeFd, fds[1]));
        if (!writeEnd.isOpen()) {
            return errno;
        }
        return 0;
    }
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
        // Not sigfillset, which leaves out the signals that libc uses itself: the command would ignore them.
        sigset_t signals;
        std::memset(&signals, 0xFF, sizeof signals);
        note(posix_spawnattr_setsigdefault(&attributes_, &signals));
        sigemptyset(&signals);
        note(posix_spawnattr_setsigmask(&attributes_, &signals));
        note(posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK));
    }

    void duplicate(int from, int onto) { note(posix_spawn_file_actions_adddup2(&actions_, from, onto)); }

    void openNull(int fd, int flags) { note(posix_spawn_file_actions_addopen(&actions_, fd, "/dev/null", flags, 0)); }

    void closeAllFrom([[maybe_unused]] int first)
    {
#ifdef __GLIBC__
#if __GLIBC_PREREQ(2, 34)
        note(posix_spawn_file_actions_addclosefrom_np(&actions_, first));
#endif
#endif
        // Elsewhere only what the host opened without O_CLOEXEC reaches the command.
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

std::string pathVariable(std::string_view hostPath)
{
    std::string path(hostPath.empty() ? "/usr/bin:/bin" : hostPath);
    for (const std::string directory : {"/usr/sbin", "/sbin"}) {
        if ((':' + path + ':').find(':' + directory + ':') == std::string::npos) {
            path += ':' + directory;
        }
    }
    return "PATH=" + path;
}

class CommandEnvironment
{
public:
    CommandEnvironment()
    {
        constexpr std::string_view kPath = "PATH=";
        constexpr std::string_view kLocale = "LC_ALL=";
        std::string_view hostPath;
        for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
            const std::string_view variable = *entry;
            if (variable.substr(0, kPath.size()) == kPath) {
                hostPath = variable.substr(kPath.size());
            } else if (variable.substr(0, kLocale.size()) != kLocale) {
                variables_.push_back(*entry);
            }
        }
        path_ = pathVariable(hostPath);
        variables_.insert(variables_.end(), {path_.data(), locale_.data(), nullptr});
    }

    char* const* data() const noexcept { return variables_.data(); }

private:
    std::string path_;
    std::string locale_ = "LC_ALL=C";
    std::vector<char*> variables_;
};

/// Appends what can be read at once. False at the end of the stream.
bool readSome(int fd, std::vector<char>& buffer, std::string& text)
{
    const ssize_t count = readUninterrupted(fd, buffer.data(), buffer.size());
    if (count <= 0) {
        return false;
    }
    text.append(buffer.data(), static_cast<std::size_t>(count));
    return true;
}

/// Reads all three streams until `status` ends, which it does when the command has, and then what the other two hold.
/// Waiting for their ends instead would wait for every daemon that the command started.
void collect(const Pipe& output, const Pipe& error, const Pipe& status, CommandResult& result, std::string& statusText)
{
    std::array<pollfd, 3> streams{
        {{output.readEnd.get(), POLLIN, 0}, {error.readEnd.get(), POLLIN, 0}, {status.readEnd.get(), POLLIN, 0}}};
    const std::array<std::string*, 3> texts{&result.output, &result.errorOutput, &statusText};
    std::vector<char> buffer(kPipeCapacity);
    bool running = true;
    while (running) {
        running = streams[2].fd >= 0;
        if (::poll(streams.data(), streams.size(), running ? -1 : 0) <= 0) {
            continue; // a signal came, or nothing is left
        }
        for (std::size_t i = 0; i < streams.size(); ++i) {
            if (streams[i].revents != 0 && !readSome(streams[i].fd, buffer, *texts[i])) {
                streams[i].fd = -1; // poll passes over it
            }
            streams[i].revents = 0;
        }
    }
}

/// The exit status of the outer shell; -1 when somebody else has reaped it.
int reap(pid_t pid) noexcept
{
    int status = 0;
    pid_t reaped = 0;
    do {
        reaped = ::waitpid(pid, &status, 0);
    } while (reaped < 0 && errno == EINTR);
    if (reaped != pid) {
        return -1;
    }
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
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
        return notStarted("the command holds a NUL byte"); // the shell would run what stands before it
    }
    Pipe output;
    Pipe error;
    Pipe status;
    for (Pipe* pipe : {&output, &error, &status}) {
        if (const int failure = pipe->open(); failure != 0) {
            return notStarted(failure);
        }
    }

    SpawnPlan plan;
    plan.useDefaultSignals();
    plan.openNull(STDIN_FILENO, O_RDONLY);
    plan.duplicate(output.writeEnd.get(), STDOUT_FILENO);
    plan.openNull(STDERR_FILENO, O_WRONLY);
    plan.duplicate(status.writeEnd.get(), kStatusFd);
    plan.duplicate(error.writeEnd.get(), kErrorFd);
    plan.closeAllFrom(kFirstFreeFd);

    const std::array<const char*, 6> arguments{kShell, "-c", kSupervise, kShell, command.c_str(), nullptr};
    const CommandEnvironment environment;
    pid_t pid = -1;
    if (const int failure = plan.run(arguments.data(), environment.data(), pid); failure != 0) {
        return notStarted(failure);
    }
    for (Pipe* pipe : {&output, &error, &status}) {
        pipe->writeEnd.reset();
    }

    CommandResult result;
    std::string statusText;
    collect(output, error, status, result, statusText);
    const int supervisor = reap(pid);
    // Without a report the outer shell itself was ended, as by Ctrl-C to the host's whole process group.
    result.returnCode = statusText.empty() ? supervisor : std::stoi(statusText);
    return result;
}

} // namespace velbase2::system
