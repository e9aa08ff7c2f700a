// SPDX-License-Identifier: MIT
#pragma once

#include "../base/IpSettings.h"

#include <string>

namespace networkmanager::detail {

/// Logs the settings as one line at level 1.
void debugLog(const std::string& prefix, const velbase2::nsa::common::IpSettings& settings);

} // namespace networkmanager::detail
