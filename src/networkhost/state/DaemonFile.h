// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <utility>
#include <vector>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// A section of a file by the rules of systemd's daemons. Unlike for libVelNetworkManager's loader, blanks are trimmed,
/// a line may continue in the next one, and a key may occur more than once.
struct DaemonSection
{
    std::string name;
    std::vector<std::pair<std::string, std::string>> entries; // key and value, in order

    /// The last value of the key. It is empty when there is none.
    std::string valueOf(const std::string& key) const;
};

struct DaemonFile
{
    std::vector<DaemonSection> sections; // in order; those of the same name stay separate
    std::string fault;                   // why the daemons stop reading there: "line 3 is no section header"
};

/// Lines that are not an entry of a section are skipped.
DaemonFile parseDaemonFile(const std::string& text);

/// The lines as the daemons part them: a carriage return and a NUL byte end a line as well.
std::vector<std::string> daemonLines(const std::string& text);

/// Appends the words of `value` to the list. As in the daemons, an empty value clears the list.
void assignList(std::vector<std::string>& list, const std::string& value);

} // namespace networkhost

#pragma GCC visibility pop
