// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <utility>
#include <vector>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// A section of a file as systemd's daemons read it, which is not how the library's own loader reads it: blanks are
/// trimmed, a line may go on in the next one, and a key may stand more than once.
struct DaemonSection
{
    std::string name;
    std::vector<std::pair<std::string, std::string>> entries; // key and value, in order

    /// The last value of the key; empty without one.
    std::string valueOf(const std::string& key) const;
};

/// The sections in order, two of the same name included. Lines that are no entry of a section are left out.
std::vector<DaemonSection> parseDaemonFile(const std::string& text);

/// Appends the words of `value` to the list as the daemons do it: an empty value empties the list.
void assignList(std::vector<std::string>& list, const std::string& value);

} // namespace networkhost

#pragma GCC visibility pop
