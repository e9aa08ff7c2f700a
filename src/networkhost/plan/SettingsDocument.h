// SPDX-License-Identifier: MIT
#pragma once

#include "../state/Configuration.h"

#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

/// Conversion between the document of all settings and a configuration. Thread-safe.
namespace networkhost {

/// See saveSettings().
std::string toDocument(const Configuration& configuration);

/// The configuration that the document asks for, with sorted routes. When there are faults (see faultsOfSettings()),
/// the result must not be used.
Configuration parseDocument(const std::string& document, std::vector<std::string>& faults);

/// The configuration with its routes sorted by text and without duplicates, because their order means nothing.
Configuration sorted(Configuration configuration);

} // namespace networkhost

#pragma GCC visibility pop
