// SPDX-License-Identifier: MIT
#pragma once

#include <ostream>

namespace velnetctl {

/// Runs the manager and prints every change as it is published, one line each, until SIGINT or SIGTERM.
/// Ends the process then: with code 0, or 1 when `output` failed.
[[noreturn]] void monitor(std::ostream& output, bool json);

} // namespace velnetctl
