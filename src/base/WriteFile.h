// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <system_error>

namespace velbase2::system {

/// Replaces the whole content of a file and syncs it to the disk. An existing file keeps its owner and mode; a new one
/// gets mode 0644 whatever the umask. Its directory has to exist.
///
/// Writers of one file take turns, in one process and between processes, and wait for that no longer than a second:
/// each locks (flock) the file ".velnet.lock" of its directory, where only writers can, and then the open file, before
/// it truncates it. Somebody who may only read the file and locks it delays them, and does not stop them.
///
/// The error code tells why the file could not be opened: ENXIO for a FIFO that nobody reads, EWOULDBLOCK when its turn
/// did not come. A later failure is not told.
std::error_code writeFile(const std::string& path, std::string_view content);

} // namespace velbase2::system
