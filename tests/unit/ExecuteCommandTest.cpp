// SPDX-License-Identifier: MIT
#include "base/ExecuteCommand.h"

#include "Allocations.h"
#include "OwnProcess.h"
#include "base/FileDescriptor.h"

#include <atomic>
#include <csignal>
#include <filesystem>
#include <future>

#include <gmock/gmock.h>
#include <sched.h>
#include <sys/resource.h>

using velbase2::system::CommandResult;
using velbase2::system::executeCommand;

static void expect(const std::string& command, int returnCode, const std::string& output,
                   const std::string& errorOutput)
{
    SCOPED_TRACE(command);
    const auto result = executeCommand(command);
    EXPECT_EQ(result.returnCode, returnCode);
    EXPECT_EQ(result.output, output);
    EXPECT_EQ(result.errorOutput, errorOutput);
}

static auto countDescriptors()
{
    using Descriptors = std::filesystem::directory_iterator;
    return std::distance(Descriptors("/proc/self/fd"), Descriptors());
}

static void reapAnyChild(int /*signal*/)
{
    const int hostErrno = errno;
    ::waitpid(-1, nullptr, WNOHANG);
    errno = hostErrno;
}

TEST(ExecuteCommand, GivesTheReturnCodeAndBothTexts)
{
    expect("", 0, "", "");
    expect("echo out; echo err >&2; exit 7", 7, "out\n", "err\n");
    expect("echo \"[$1]\"; false # x", 1, "[]\n", ""); // no argument, and a comment at the end
    expect("-x 2>/dev/null", 127, "", "");             // looks like an option
    expect("kill -KILL $$", 137, "", "");
    expect("kill -TERM $$", 143, "", "");
    expect("echo status 3; echo status 4 >&2", 0, "status 3\n", "status 4\n"); // looks like a report
}

TEST(ExecuteCommand, RunsNothingOfACommandWithANulByte)
{
    expect(std::string("echo run\0; false", 16), -1, "", "cannot start /bin/sh: the command holds a NUL byte\n");
}

TEST(ExecuteCommand, TakesMoreThanAPipeHolds)
{
    const auto result = executeCommand("head -c 1000000 /dev/zero >&2; head -c 2000000 /dev/zero");
    EXPECT_EQ(result.errorOutput, std::string(1000000, '\0'));
    EXPECT_EQ(result.output, std::string(2000000, '\0'));
}

TEST(ExecuteCommand, DoesNotWaitForTheBackground)
{
    const auto result = executeCommand("sleep 1000 & echo $!"); // sleep inherits the pipes
    EXPECT_EQ(::kill(std::stoi(result.output), SIGTERM), 0);
}

TEST(ExecuteCommand, DoesNotWaitForChildrenThatTheHostForks)
{
    std::atomic<bool> isForking = true;
    const auto commands = std::async(std::launch::async, [&isForking] {
        while (isForking) {
            expect("echo x", 0, "x\n", "");
            expect("kill -KILL $PPID", 137, "", ""); // kills the outer shell
        }
    });
    SleepingChildren children; // those forked during the start of a command inherit its pipes
    isForking = false;
    EXPECT_EQ(commands.wait_for(std::chrono::seconds(30)), std::future_status::ready);
}

TEST(ExecuteCommand, ServesThreadsOfAHostThatReapsChildren)
{
    for (const auto handler : {SIG_IGN, reapAnyChild}) {
        const auto previous = std::signal(SIGCHLD, handler);
        std::vector<std::future<void>> threads;
        for (int i = 0; i < 64; ++i) {
            threads.push_back(std::async(std::launch::async, [i, number = std::to_string(i)] {
                expect("echo " + number + "; exit " + number, i, number + "\n", "");
            }));
        }
        threads.clear(); // waits for them
        std::signal(SIGCHLD, previous);
    }
}

TEST(ExecuteCommand, SetsLocaleAndPathOfTheHostsEnvironment)
{
    OwnProcess([] {
        ::setenv("PATH", "/sbin:/bin:/usr/bin:/usr/sbinx", 1);
        ::setenv("LC_ALL", "de_DE.UTF-8", 1);
        ::setenv("OTHER", "kept", 1);
        expect("echo $OTHER $LC_ALL $PATH", 0, "kept C /sbin:/bin:/usr/bin:/usr/sbinx:/usr/sbin\n", "");
        ::unsetenv("PATH");
        expect("echo $PATH", 0, "/usr/bin:/bin:/usr/sbin:/sbin\n", "");
    });
}

TEST(ExecuteCommand, StartsWithDefaultSignals)
{
    OwnProcess([] {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, nullptr);
        std::signal(SIGPIPE, SIG_IGN);
        expect("grep SigBlk /proc/self/status", 0, "SigBlk:\t0000000000000000\n", "");
        expect("grep SigIgn /proc/self/status", 0, "SigIgn:\t0000000000000000\n", "");
    });
}

TEST(ExecuteCommand, PassesOnNoDescriptorAndKeepsNone)
{
    OwnProcess([] {
        EXPECT_GT(::dup(::dup2(STDERR_FILENO, STDIN_FILENO)), STDERR_FILENO); // inheritable
        const auto before = countDescriptors();
        // Descriptor 3 is the directory that ls reads.
        expect("readlink /proc/self/fd/0; ls /proc/self/fd", 0, "/dev/null\n0\n1\n2\n3\n", "");
        EXPECT_EQ(countDescriptors(), before);
    });
}

TEST(ExecuteCommand, WorksInAHostWithoutStandardStreams)
{
    OwnProcess([] {
        ::close(STDIN_FILENO);
        ::close(STDERR_FILENO);
        const auto before = countDescriptors();
        expect("echo out; echo err >&2", 0, "out\n", "err\n");
        EXPECT_EQ(countDescriptors(), before);
    });
}

TEST(ExecuteCommand, TellsThatTheInnerShellCannotStart)
{
    OwnProcess([] {
        // Without other processes of this user, the limit allows exactly one more process each time.
        ASSERT_EQ(::geteuid() == 0 ? ::setuid(54321) : ::unshare(CLONE_NEWUSER), 0);
        rlimit processes{};
        ASSERT_EQ(::getrlimit(RLIMIT_NPROC, &processes), 0);
        processes.rlim_cur = 0;
        CommandResult result{-1, {}, {}};
        std::string lastWords;
        while (result.returnCode != 0) {
            ASSERT_EQ(result.returnCode, -1);
            lastWords = result.errorOutput;
            ++processes.rlim_cur;
            ASSERT_EQ(::setrlimit(RLIMIT_NPROC, &processes), 0);
            result = executeCommand("true");
        }
        EXPECT_THAT(lastWords, testing::MatchesRegex("cannot start /bin/sh: .*fork.*\n"));
    });
}

TEST(ExecuteCommand, LeavesNothingWhenMemoryRunsOut)
{
    const auto before = countDescriptors();
    largestAllocation = 100000;
    EXPECT_THROW(executeCommand("head -c 1000000 /dev/zero"), std::bad_alloc);
    largestAllocation = SIZE_MAX;
    EXPECT_EQ(countDescriptors(), before);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1); // no child is left
}
