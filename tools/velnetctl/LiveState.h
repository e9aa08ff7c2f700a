// SPDX-License-Identifier: MIT
#pragma once

#include "base/IpSettings.h"
#include "networkmanager/EthInterface.h"
#include "networkmanager/system/ISystemIF.h"

#include <chrono>
#include <functional>
#include <set>
#include <string>

/// What the files ask for, against what the daemons made of it. The missing... functions tell in words what the live
/// state lacks, and return the empty text when it lacks nothing.
namespace velnetctl {

/// The addresses, the lease and the default route that the interface's files ask for.
std::string missingOfFiles(const networkmanager::ISystemIF& system, const networkmanager::EthParams& iface);

/// Those, and the static settings as the interface's first address.
std::string missingOfSettings(const networkmanager::ISystemIF& system, const networkmanager::EthParams& iface,
                              const velbase2::nsa::common::IpSettings& settings);

/// The default route via that gateway; for the empty text, the absence of one.
std::string missingOfGateway(const networkmanager::ISystemIF& system, const std::string& gateway);

/// "10.0.0.0/8 via 192.168.0.1" for each route of the interface's drop-in.
std::set<std::string> routesOfFile(const networkmanager::EthParams& iface);

/// The routes of the drop-in in the kernel's table, and the absence of those that only `before` has.
std::string missingOfRoutes(const networkmanager::EthParams& iface, const std::set<std::string>& before);

/// The words behind their key ("nameserver", "search") in what systemd-resolved uses.
std::string missingOfResolver(const std::string& key, const std::string& words);

/// The address with the bits of the host cleared.
std::string networkOf(const std::string& address, const std::string& mask);

/// Asks until nothing is missing or the limit is over. The last answer.
std::string waitWhileMissing(const std::function<std::string()>& missing, std::chrono::milliseconds limit);

} // namespace velnetctl
