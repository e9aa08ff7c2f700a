// SPDX-License-Identifier: MIT
#pragma once

#include "Session.h"

#include <chrono>
#include <optional>
#include <string>

/// The verbs that change the device. Those of the interfaces first wait until the live state shows what the files ask
/// for. Each prints the status to the output, or why it was refused to the errors. True on success and when there was
/// nothing to change. With `wait`, true only when the live state shows the new setting within that time.
namespace velnetctl {

using Wait = std::optional<std::chrono::seconds>;

/// `address` is "dhcp", "ADDRESS/LENGTH", or an address with its `mask`.
bool setIp(Session& session, const std::string& interfaceName, const std::string& address, const std::string& mask,
           Wait wait);

/// `gateway` is an address or "none".
bool setGateway(Session& session, const std::string& gateway, Wait wait);

/// `address` is an address or "none".
bool setDns(Session& session, unsigned int index, const std::string& address, Wait wait);

bool setDomain(Session& session, const std::string& domain, Wait wait);

/// `routes` is the library's own text form.
bool setRoutes(Session& session, const std::string& interfaceName, const std::string& routes, Wait wait);

} // namespace velnetctl
