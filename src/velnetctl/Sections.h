// SPDX-License-Identifier: MIT
#pragma once

#include "Text.h"
#include "networkhost/state/Snapshot.h"

#include <optional>
#include <string>
#include <vector>

namespace velnetctl {

/// "link        up, 1000 Mbit/s", without control characters.
struct Row
{
    std::string label;
    std::string text;
    std::optional<Color> color; // of `text`
    std::string more;           // after it, without colour
};

/// The rows of the host, the resolver or an interface. Several addresses are several rows of one label.
struct Section
{
    std::string title;
    std::vector<Row> rows;
};

/// The sections of the host, the resolver, the daemons with a fault, and each interface in the order of the names.
std::vector<Section> sectionsOf(const networkhost::Snapshot& snapshot);

} // namespace velnetctl
