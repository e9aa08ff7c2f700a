// SPDX-License-Identifier: MIT
#pragma once

#include <array>

namespace networkmanager {

struct BuiltInInterface
{
    const char* name;
    const char* networkFile;
    bool dhcpSupported;
    bool holdsGateway;
    bool intComIf;
};

/// The interfaces of every device, in the order of their registration.
inline constexpr std::array<BuiltInInterface, 2> kBuiltInInterfaces{{
    {"local", "01_local.network", true, false, true},
    {"remote", "02_remote.network", true, true, false},
}};

} // namespace networkmanager
