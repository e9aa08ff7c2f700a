// SPDX-License-Identifier: MIT
#pragma once

#include "../state/Configuration.h"

#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

/// The document of all settings, and the configuration that it stands for. Thread-safe.
namespace networkhost {

/// See saveSettings().
std::string toDocument(const Configuration& configuration);

/// What the document asks for, with its routes in order. When there are faults (see faultsOfSettings()), the result
/// is of no use.
Configuration parseDocument(const std::string& document, std::vector<std::string>& faults);

/// The same with its routes in order of text, each once: their order means nothing.
Configuration sorted(Configuration configuration);

} // namespace networkhost

#pragma GCC visibility pop
