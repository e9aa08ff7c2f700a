// SPDX-License-Identifier: MIT
#pragma once

#include "Session.h"
#include "networkhost/plan/Outcome.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

/// The commands that change the device. A command for an interface first waits until the live state is as configured.
/// Each command prints the status to the output, or the reason of a refusal to the errors. True on success, and when
/// there was nothing to change.
namespace velnetctl {

using Seconds = std::optional<std::chrono::seconds>;

struct ChangeOptions
{
    Seconds wait;        // succeed only if the new setting becomes live within this time
    bool dryRun = false; // print the plan and change nothing
    bool json = false;   // print the plan as JSON
    bool force = false;  // carry it out in spite of the plan's objections
    Seconds trial;       // roll back unless it is confirmed within this time
    bool requiresBootGuard = false;
};

/// `address` is "dhcp", "ADDRESS/LENGTH", or an address with its `mask`. `gateway` is an address or "none", and
/// `dnsServers` are all DNS servers or "none"; empty ones keep the present setting.
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

/// Applies the document in the file; "-" is standard input.
bool applySettings(Session& session, const std::string& file, const ChangeOptions& options);

/// Writes the document of the present settings to the file; "-" is standard output.
bool saveSettings(Session& session, const std::string& file);

/// Prints the reason of a refusal or failure.
void printFailure(Session& session, const networkhost::Outcome& outcome);

} // namespace velnetctl
