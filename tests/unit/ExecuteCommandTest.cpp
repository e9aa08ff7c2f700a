// SPDX-License-Identifier: MIT
#include "base/ExecuteCommand.h"

#include "TestSupport.h"
#include "base/FileDescriptor.h"

#include <csignal>

#include <sys/wait.h>

/// "code|output|error output"
static std::string run(const std::string& command)
{
    const auto result = velbase2::system::executeCommand(command);
    return std::to_string(result.returnCode) + '|' + result.output + '|' + result.errorOutput;
}

static void reapAnyChild(int /*signal*/)
{
    const int hostErrno = errno;
    ::waitpid(-1, nullptr, WNOHANG);
    errno = hostErrno;
}

TEST(ExecuteCommand, GivesExitStatusAndBothTexts)
{
    expectResults(run,
                  {" -> 0||", "echo out; echo err >&2; exit 7 -> 7|out\n|err\n", "echo \"[$1]\"; false # x -> 1|[]\n|",
                   "-x 2>/dev/null -> 127||", "kill -KILL $$ -> 137||", "kill -TERM $$ -> 143||"});
    EXPECT_EQ(run(std::string("echo run\0; false", 16)).substr(0, 4), "-1||");
    EXPECT_EQ(run("head -c 1048576 /dev/zero >&2; head -c 1048576 /dev/zero").size(), 2 * 1048576 + 3U);
    // Nobody waits for the background, though it has the pipes.
    EXPECT_EQ(::kill(std::stoi(run("sleep 1000 & echo $!").substr(2)), SIGTERM), 0);
}

TEST(ExecuteCommand, ServesManyThreadsInAHostThatIgnoresOrReapsItsChildren)
{
    for (const auto handler : {SIG_IGN, reapAnyChild}) {
        const auto previous = std::signal(SIGCHLD, handler);
        std::vector<std::future<void>> threads;
        for (int i = 0; i < 64; ++i) {
            threads.push_back(std::async(std::launch::async, [n = std::to_string(i)] {
                EXPECT_EQ(run("echo " + n + "; exit " + n), n + '|' + n + "\n|");
            }));
        }
        threads.clear(); // waits for them
        std::signal(SIGCHLD, previous);
    }
}

TEST(ExecuteCommand, StartsCommandsCleanOfTheHostsState)
{
    const auto inAProcessOfItsOwn = [] {
        ::setenv("PATH", "/sbin:/bin:/usr/bin:/usr/sbinx", 1);
        ::setenv("LC_ALL", "de_DE.UTF-8", 1);
        ::setenv("OTHER", "kept", 1);
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, nullptr);
        std::signal(SIGPIPE, SIG_IGN);
        EXPECT_GT(::dup(::dup2(STDERR_FILENO, STDIN_FILENO)), STDERR_FILENO); // inheritable
        const auto countDescriptors = "ls /proc/" + std::to_string(::getpid()) + "/fd | wc -l";
        const auto before = run(countDescriptors);
        // Descriptor 3 is the directory that ls reads.
        expectResults(run, {"echo $LC_ALL $OTHER $PATH -> 0|C kept /sbin:/bin:/usr/bin:/usr/sbinx:/usr/sbin\n|",
                            "kill -PIPE $$ -> 141||", "grep SigBlk /proc/self/status -> 0|SigBlk:\t0000000000000000\n|",
                            "readlink /proc/self/fd/0; ls /proc/self/fd -> 0|/dev/null\n0\n1\n2\n3\n|"});
        EXPECT_EQ(run(countDescriptors), before);
        // What the library writes stays clear of the standard streams where the host has closed them.
        ::close(STDIN_FILENO);
        EXPECT_GT(velbase2::system::atLeast(STDERR_FILENO + 1, ::dup(STDERR_FILENO)), STDERR_FILENO);
        EXPECT_EQ(::dup(STDERR_FILENO), STDIN_FILENO);
        std::_Exit(testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(inAProcessOfItsOwn(), testing::ExitedWithCode(0), "");
}
