// SPDX-License-Identifier: MIT
#pragma once

#include "networkhost/state/Configuration.h"

#include <string>
#include <vector>

/// The configured settings in the form in which velnetctl shows them.
namespace velnetctl {

/// "10.0.0.2/8, DHCP, gateway 10.0.0.1".
std::string configuredText(const networkhost::ConfiguredInterface& configured);

/// "1.1.1.1, search example.org".
std::string resolverText(const std::vector<std::string>& servers, const std::vector<std::string>& domains);

} // namespace velnetctl
