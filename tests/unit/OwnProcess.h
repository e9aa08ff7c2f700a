// SPDX-License-Identifier: MIT
#pragma once

#include "base/ExecuteCommand.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <vector>

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

/// Runs the body in a child process, because it would change this process or needs another one. The destructor waits
/// for the child. The object must be made before threads start, because the child could find their locks held.
class OwnProcess
{
public:
    template <class Body>
    explicit OwnProcess(Body body) : child_(::fork())
    {
        if (child_ == 0) {
            body();
            std::fflush(stdout); // prints the failures
            std::_Exit(testing::Test::HasFailure() ? 1 : 0);
        }
    }
    OwnProcess(const OwnProcess&) = delete;
    OwnProcess& operator=(const OwnProcess&) = delete;
    ~OwnProcess()
    {
        int status = -1;
        EXPECT_EQ(::waitpid(child_, &status, 0), child_);
        EXPECT_EQ(status, 0);
    }

private:
    pid_t child_;
};

/// Runs the commands and then the body in a process with its own network and mounts.
template <class Body>
void inANetworkOf(const std::string& commands, Body body)
{
    OwnProcess([&] {
        const auto user = ::geteuid();
        const int own = CLONE_NEWNET | CLONE_NEWNS;
        ASSERT_EQ(::unshare(user == 0 ? own : CLONE_NEWUSER | own), 0);
        if (user != 0) {
            std::ofstream("/proc/self/uid_map") << "0 " << user << " 1"; // root may set up that network
        }
        EXPECT_EQ(velbase2::system::executeCommand("set -e; mount --make-rprivate /; " + commands).errorOutput, "");
        body();
    });
}

/// Many children of a host that forks without exec. They keep the open descriptors until they are ended.
class SleepingChildren
{
public:
    SleepingChildren()
    {
        for (int i = 0; i < 200; ++i) {
            children_.push_back(::fork());
            if (children_.back() == 0) {
                ::pause();
                std::_Exit(0);
            }
        }
    }
    SleepingChildren(const SleepingChildren&) = delete;
    SleepingChildren& operator=(const SleepingChildren&) = delete;
    ~SleepingChildren()
    {
        for (const pid_t child : children_) {
            ::kill(child, SIGKILL);
            ::waitpid(child, nullptr, 0);
        }
    }

private:
    std::vector<pid_t> children_;
};
