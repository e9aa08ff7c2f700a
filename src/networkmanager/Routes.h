// SPDX-License-Identifier: MIT
#pragma once

#include "../base/Signal.h"
#include "EthInterface.h"
#include "system/ISystemIF.h"

#include <cstddef>
#include <string>
#include <vector>

namespace networkmanager {

struct RouteSetting
{
    std::string destination; // address, or address/prefix length
    std::string gateway;
};

/// Sets the static routes of one interface. Holds references only: what it is given outlives it.
class Routes
{
public:
    Routes(velbase2::system::signals::signal<std::string>& messages, ISystemIF& system, EthInterface& iface);

    /// Replaces the interface's routes by those of the text: "dst=ADDRESS[/LENGTH] gw=ADDRESS", repeated, with any run
    /// of blanks, line feeds, commas, semicolons and vertical bars between. The empty text removes all.
    ///
    /// Writes the drop-in, restarts systemd-networkd, assigns the text to the cell `routes`, and emits the outcome on
    /// the messages: "Routes updated" with true, else why not. A bad route leaves file and cell as they were.
    /// Throws std::out_of_range for a later route without "gw=" and for a prefix length beyond int.
    /// Slots run on the caller's thread.
    bool set(const std::string& routes);

private:
    velbase2::system::signals::signal<std::string>& messages_;
    ISystemIF& system_;
    EthInterface& iface_;
};

/// The routes of the text. Throws std::invalid_argument as checkForIdentifier, std::out_of_range as Routes::set.
std::vector<RouteSetting> extract(const std::string& routes);

/// Throws std::invalid_argument when the text lacks "dst=" or "gw=", or has its first "gw=" before its first "dst=".
void checkForIdentifier(const std::string& routes);

/// Appends the first route of `rest`, which holds no separators and begins with "dst="; returns what follows it.
std::string fillNewSettingToVector(std::vector<RouteSetting>& routes, std::string rest);

/// The position after the first `identifier`; npos without one.
std::size_t findStartOfContent(const std::string& text, const std::string& identifier);

/// The text of the drop-in. "invalid", with a message that says why, when a route is not valid.
std::string createSysConf(const std::vector<RouteSetting>& routes,
                          velbase2::system::signals::signal<std::string>& messages);

bool checkValidRoute(const std::string& destination);

/// Whether std::stoi makes a prefix length of it: "24abc" is 24. Throws std::out_of_range beyond int.
bool checkMask(const std::string& prefix);

/// The interface's drop-in directory, without a slash at its end.
std::string createSysDDropInFilePath(const EthInterface& iface);

} // namespace networkmanager
