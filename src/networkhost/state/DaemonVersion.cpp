// SPDX-License-Identifier: MIT
#include "networkhost/state/DaemonVersion.h"

#include "base/IpHelper.h"
#include "base/Paths.h"

#include <string_view>

namespace networkhost {

namespace paths = velbase2::system::paths;

std::optional<int> networkdVersion(const IReadableFiles& files)
{
    // Every program of systemd needs this library, whose name ends in the version: "libsystemd-shared-252.so".
    constexpr std::string_view kLibrary = "libsystemd-shared-";
    const auto program = textOf(files, paths::kNetworkd).value_or("");
    const auto place = program.find(kLibrary);
    if (place == std::string::npos) {
        return std::nullopt;
    }
    const auto version = velbase2::system::iphelper::leadingNumber(program.substr(place + kLibrary.size(), 4), 0, 0);
    return version > 0 ? std::optional(version) : std::nullopt;
}

} // namespace networkhost
