// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>
#include <cstdlib>

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
