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

/// The files, directories and locks of a simulated device. A change is noted as an event, and hinted. A change that the
/// faults forbid fails with their errno value. Thread-safe.
class Disk
{
public:
    /// Makes the text of a shown file, or the empty text when there is no such file. `rest` follows the shown path.
    using Show = std::function<std::string(const std::string& rest)>;

    /// The arguments outlive the disk.
    Disk(const Faults& faults, EventLog& events, Clock& clock) : faults_(faults), events_(events), clock_(clock) {}

    /// From now on, `show` makes the text of the file at that path, whatever is written there. A path that ends in a
    /// slash stands for all files below it.
    void show(const std::string& path, Show show);

    /// The result is empty when there is no such file.
    std::optional<std::string> read(const std::string& path) const;

    /// Returns the names in a directory, in byte order, without shown files. The result is empty when there is no such
    /// directory.
    std::optional<std::vector<std::string>> list(const std::string& directory) const;

    /// Makes an empty directory. A directory that holds something need not be made.
    void makeDirectory(const std::string& path);

    /// Fails with ENOENT when there is no such directory.
    std::error_code write(const std::string& path, const std::string& text);

    /// A missing file counts as removed.
    std::error_code remove(const std::string& path);

    std::error_code rename(const std::string& from, const std::string& to);

    /// Writes without an event, whatever the faults are.
    void put(const std::string& path, const std::string& text);

    /// Returns false when the lock of that file is already held.
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
