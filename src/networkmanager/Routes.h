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

/// Sets the static routes of one interface. Keeps references only, and therefore the arguments must outlive it.
class Routes
{
public:
    Routes(velbase2::system::signals::signal<std::string>& messages, ISystemIF& system, EthInterface& iface);

    /// Replaces the interface's routes by those of the text. The text repeats "dst=ADDRESS[/LENGTH] gw=ADDRESS". Any
    /// number of blanks, line feeds, commas, semicolons and vertical bars may stand between the parts. The empty text
    /// removes all routes.
    ///
    /// Writes the drop-in, restarts systemd-networkd, and assigns the text to the cell `routes`. Emits "Routes updated"
    /// and returns true, or emits the reason and returns false. An invalid route leaves the file and the cell
    /// unchanged. Throws std::out_of_range for a later route without "gw=" and for a prefix length beyond int. Slots
    /// run on the caller's thread.
    bool set(const std::string& routes);

private:
    velbase2::system::signals::signal<std::string>& messages_;
    ISystemIF& system_;
    EthInterface& iface_;
};

/// The routes of the text. Throws the exceptions of checkForIdentifier, and std::out_of_range like Routes::set.
std::vector<RouteSetting> extract(const std::string& routes);

/// Throws std::invalid_argument when the text has no "dst=", has no "gw=", or has "gw=" before the first "dst=".
void checkForIdentifier(const std::string& routes);

/// Appends the first route of `rest`, which has no separators and begins with "dst=". Returns the text after this
/// route.
std::string fillNewSettingToVector(std::vector<RouteSetting>& routes, std::string rest);

/// The position after the first `identifier`, or npos when there is none.
std::size_t findStartOfContent(const std::string& text, const std::string& identifier);

/// The text of the drop-in. For an invalid route, returns "invalid" and emits a message with the reason.
std::string createSysConf(const std::vector<RouteSetting>& routes,
                          velbase2::system::signals::signal<std::string>& messages);

bool checkValidRoute(const std::string& destination);

/// Whether std::stoi reads a prefix length from the text. "24abc" is read as 24. Throws std::out_of_range beyond int.
bool checkMask(const std::string& prefix);

/// The interface's drop-in directory, without a slash at its end.
std::string createSysDDropInFilePath(const EthInterface& iface);

} // namespace networkmanager
