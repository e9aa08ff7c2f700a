// SPDX-License-Identifier: MIT
#pragma once

#include "Plan.h"

#include <string>

namespace networkhost {

/// A unified diff of the plan's files, which `patch` takes; empty when none of them changes.
std::string toDiff(const Plan& plan);

} // namespace networkhost
