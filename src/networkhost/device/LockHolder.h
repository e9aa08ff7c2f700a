// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// The process that has locked what is open, as "process 812 (velnetctl)"; "another process" when the kernel does not
/// tell.
std::string lockHolder(int fd);

/// "process 812 (velnetctl)" of this process.
std::string thisProcess();

} // namespace networkhost

#pragma GCC visibility pop
