// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace [[gnu::visibility("hidden")]] networkhost {

/// The process that has locked what is open, as "process 812 (velnetctl)"; "another process" when the kernel does not
/// tell.
std::string lockHolder(int fd);

/// "process 812 (velnetctl)" of this process.
std::string thisProcess();

} // namespace gnu::visibility("hidden")]]networkhost
