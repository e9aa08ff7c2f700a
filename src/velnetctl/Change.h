// SPDX-License-Identifier: MIT
#pragma once

#include "Session.h"
#include "networkhost/plan/Outcome.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

/// The commands that change the device. A command that changes an interface first waits until the live state shows what
/// the files ask for. Each prints the status to the output, or why it was refused to the errors. True on success and
/// when there was nothing to change.
namespace velnetctl {

using Seconds = std::optional<std::chrono::seconds>;

struct ChangeOptions
{
    Seconds wait;        // true only when the live state shows the new setting within that time
    bool dryRun = false; // print the plan, touch nothing
    bool json = false;   // the plan
    bool force = false;  // whatever the plan's objections
    Seconds trial;       // roll back unless it is confirmed within that time
    bool requiresBootGuard = false;
};

/// `address` is "dhcp", "ADDRESS/LENGTH", or an address with its `mask`; `gateway` an address, "none", or empty for the
/// present one; `dnsServers` all DNS servers, or "none", or empty for the present ones.
bool setIp(Session& session, const std::string& interfaceName, const std::string& address, const std::string& mask,
           const std::string& gateway, const std::vector<std::string>& dnsServers, const ChangeOptions& options);

/// `gateway` is an address or "none".
bool setGateway(Session& session, const std::string& gateway, const ChangeOptions& options);

/// `address` is an address or "none".
bool setDns(Session& session, unsigned int index, const std::string& address, const ChangeOptions& options);

bool setDomain(Session& session, const std::vector<std::string>& domains, const ChangeOptions& options);

/// `routes` is the library's own text form.
bool setRoutes(Session& session, const std::string& interfaceName, const std::string& routes,
               const ChangeOptions& options);

/// Makes the device as the document in the file says; "-" is standard input.
bool applySettings(Session& session, const std::string& file, const ChangeOptions& options);

/// Writes that document to the file; "-" is standard output.
bool saveSettings(Session& session, const std::string& file);

/// Prints why there is no change, or what went wrong with it.
void printFailure(Session& session, const networkhost::Outcome& outcome);

} // namespace velnetctl
