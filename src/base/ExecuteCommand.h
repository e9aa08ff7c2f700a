// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace velbase2::system {

struct CommandResult
{
    int returnCode = 0;
    std::string output;
    std::string errorOutput;
};

/// Runs a command line through /bin/sh, waits for it, and returns its exit status with what it wrote to standard output
/// and standard error.
///
/// returnCode: 127 when the shell finds no such command, 128+N when signal N ended it, -1 when the shell itself could
/// not be started or the command holds a NUL byte (errorOutput says why). The empty command gives 0.
///
/// The command reads /dev/null, inherits no other descriptor, and starts with default signal handling and an empty
/// signal mask. Its environment is the host's, with LC_ALL=C, and /usr/sbin and /sbin appended to PATH when missing.
/// Processes that the command leaves in the background are not waited for, nor are children that the host forks
/// meanwhile.
///
/// Thread-safe. Neither the host's handling of SIGCHLD nor another thread that reaps all children changes the result.
/// The cost does not depend on the host's memory size.
CommandResult executeCommand(const std::string& command);

} // namespace velbase2::system
