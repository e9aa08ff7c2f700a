// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace networksimulation {

/// Everything that does not work on a simulated device. Its other pieces ask here before they act. Not thread-safe.
class Faults
{
public:
    /// `error` is an errno value.
    void failWrite(const std::string& path, int error) { writes_[path] = error; }

    /// Commands that begin with this text fail with these words.
    void failCommand(const std::string& beginning, const std::string& words) { commands_[beginning] = words; }

    void hang(const std::string& daemon) { daemons_[daemon] = false; }
    void removeGuards() { hasGuards_ = false; }

    /// Returns the errno value with which writes to that path fail. It is 0 when they do not fail.
    int ofWrite(const std::string& path) const;

    /// Returns the words with which the command fails. The result is empty when it does not fail.
    std::optional<std::string> ofCommand(const std::string& command) const;

    /// Returns whether a restart of the daemon hangs. If it does, the restart waits for repair().
    bool holdUp(const std::string& daemon);

    bool hasGuards() const { return hasGuards_; }

    /// Ends all faults. Returns the daemons whose restarts have waited for that.
    std::vector<std::string> repair();

private:
    std::map<std::string, int> writes_;           // errno values by path
    std::map<std::string, std::string> commands_; // words by the beginning of the command
    std::map<std::string, bool> daemons_;         // by daemon that hangs; true while a restart waits
    bool hasGuards_ = true;
};

} // namespace networksimulation
