// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <system_error>

namespace velbase2::system {

/// Replaces the whole content of a file and syncs it to the disk. An existing file keeps its owner and mode. A new one
/// gets mode 0644, independent of the umask. Its directory has to exist.
///
/// Writers of one file take turns, within a process and between processes, and wait for at most a second. A writer
/// first locks (flock) the file ".velnet.lock" in the directory, which only writers can open. Then it locks the file
/// itself, and truncates it after that. A user who may only read the file can lock it, which delays writers but does
/// not stop them.
///
/// Returns why the file could not be opened: for example ENXIO for a FIFO that nobody reads, or EWOULDBLOCK when the
/// locks were not free in time. Later failures are not reported.
std::error_code writeFile(const std::string& path, std::string_view content);

} // namespace velbase2::system
