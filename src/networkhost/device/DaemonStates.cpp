// SPDX-License-Identifier: MIT
#include "networkhost/device/DaemonStates.h"

#include "base/ReadFile.h"
#include "networkhost/text/Words.h"

#include <algorithm>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace networkhost {

std::vector<DaemonState> parseDaemonStates(const std::string& output)
{
    std::vector<DaemonState> daemons;
    DaemonState next;
    auto lines = linesOf(output);
    lines.emplace_back(); // an empty line ends each unit
    for (const auto& line : lines) {
        if (line.empty()) {
            if (!next.name.empty()) {
                daemons.push_back(std::exchange(next, {}));
            }
            continue;
        }
        const auto separator = std::min(line.find('='), line.size() - 1);
        const auto key = line.substr(0, separator);
        const auto value = line.substr(separator + 1);
        if (key == "Id") {
            next.name = value.substr(0, value.rfind(".service"));
        } else if (key == "ActiveState") {
            next.active = value;
        } else if ((key == "LoadState" && value == "not-found") || (key == "UnitFileState" && next.enabled.empty())) {
            next.enabled = value;
        }
    }
    return daemons;
}

bool isPlainlyThere(const std::string& daemon)
{
    const auto unit = '/' + daemon + ".service";
    const auto isThere = [&unit](const std::string& directory, int flags) {
        return ::faccessat(AT_FDCWD, (directory + unit).c_str(), F_OK, flags) == 0;
    };
    const bool isWanted = isThere("/etc/systemd/system/multi-user.target.wants", 0) ||
                          isThere("/etc/systemd/system/sysinit.target.wants", 0);
    const bool isMaskedOrOther =
        isThere("/etc/systemd/system", AT_SYMLINK_NOFOLLOW) || isThere("/run/systemd/system", AT_SYMLINK_NOFOLLOW);
    std::string processes;
    return isWanted && !isMaskedOrOther &&
           !velbase2::system::readFile("/sys/fs/cgroup/system.slice" + unit + "/cgroup.procs", processes) &&
           !processes.empty();
}

} // namespace networkhost
