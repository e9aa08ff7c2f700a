// SPDX-License-Identifier: MIT
#pragma once

#include "Clock.h"
#include "EventLog.h"
#include "Faults.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <vector>

namespace networksimulation {

/// The files, directories and locks of a simulated device. Changes are noted as events, and hinted. They fail where the
/// faults say so, with an errno value. Thread-safe.
class Disk
{
public:
    /// Makes the text of a shown file; empty when there is none. `rest` is what follows the path that is shown.
    using Show = std::function<std::string(const std::string& rest)>;

    /// All of these outlive the disk.
    Disk(const Faults& faults, EventLog& events, Clock& clock) : faults_(faults), events_(events), clock_(clock) {}

    /// From now on, `show` makes the text of the file at that path, or of all files below it when it ends in a slash,
    /// whatever is written there.
    void show(const std::string& path, Show show);

    std::optional<std::string> read(const std::string& path) const;

    /// The names in a directory, in byte order. Empty when there is no such directory. Shown files are not listed.
    std::optional<std::vector<std::string>> list(const std::string& directory) const;

    /// A directory with something in it needs not be made.
    void makeDirectory(const std::string& path);

    /// ENOENT without the directory.
    std::error_code write(const std::string& path, const std::string& text);

    /// A missing file counts as removed.
    std::error_code remove(const std::string& path);

    std::error_code rename(const std::string& from, const std::string& to);

    /// Writes without an event, and whatever the faults are.
    void put(const std::string& path, const std::string& text);

    /// False when somebody has the lock of that file.
    bool lock(const std::string& path);
    void unlock(const std::string& path);

private:
    const Faults& faults_;
    EventLog& events_;
    Clock& clock_;
    std::map<std::string, Show> shown_;        // by path
    std::map<std::string, std::string> texts_; // by path
    std::set<std::string> directories_;        // with a slash at the end
    std::set<std::string> locked_;
};

} // namespace networksimulation
