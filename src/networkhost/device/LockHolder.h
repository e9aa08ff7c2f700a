// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// Names the process that has locked the open file, for example "process 812 (velnetctl)". The result is "another
/// process" when the kernel does not tell.
std::string lockHolder(int fd);

/// Names this process in the same form.
std::string thisProcess();

} // namespace networkhost

#pragma GCC visibility pop
