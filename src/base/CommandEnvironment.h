// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace velbase2::system {

/// The environment of a command: the host's at construction, with LC_ALL=C, and with /usr/sbin and /sbin appended to
/// PATH when missing. Refers to the host's variables, which must not be changed while it is in use.
class CommandEnvironment
{
public:
    CommandEnvironment();
    CommandEnvironment(const CommandEnvironment&) = delete;
    CommandEnvironment& operator=(const CommandEnvironment&) = delete;
    ~CommandEnvironment() = default;

    /// The array in the form that execve() needs.
    char* const* data() const noexcept { return variables_.data(); }

private:
    std::string path_;
    std::string locale_ = "LC_ALL=C"; // error texts become status texts, and must be the same on every device
    std::vector<char*> variables_;
};

} // namespace velbase2::system
