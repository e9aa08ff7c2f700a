// SPDX-License-Identifier: MIT
#pragma once

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

/// Runs the body in a child, for what would change the test program itself.
template <class Body>
void inAProcessOfItsOwn(Body body)
{
    const pid_t child = ::fork();
    if (child == 0) {
        body();
        std::fflush(stdout); // the failures
        std::_Exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

/// Children as of a host that forks and does not exec: they hold what was open, until they are ended.
class SleepingChildren
{
public:
    SleepingChildren() = default;
    SleepingChildren(const SleepingChildren&) = delete;
    SleepingChildren& operator=(const SleepingChildren&) = delete;
    ~SleepingChildren()
    {
        for (const pid_t child : children_) {
            ::kill(child, SIGKILL);
            ::waitpid(child, nullptr, 0);
        }
    }

    void forkMany()
    {
        for (int i = 0; i < 200; ++i) {
            children_.push_back(::fork());
            if (children_.back() == 0) {
                ::pause();
                std::_Exit(0);
            }
        }
    }

private:
    std::vector<pid_t> children_;
};
