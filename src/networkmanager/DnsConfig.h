// SPDX-License-Identifier: MIT
#pragma once

#include "system/ISystemIF.h"

#include <string>

namespace networkmanager {

/// Writes drop-ins of systemd-resolved and restarts it. Logs nothing and emits no status. Thread-safe; writers of
/// the same file take turns, in other processes too, and the last one's text stands.
class DnsConfig
{
public:
    /// Holds the reference: the system outlives it.
    explicit DnsConfig(ISystemIF& system);
    virtual ~DnsConfig() = default;

    /// Sets the server of that slot; "0.0.0.0" clears it. False when the address is not valid (nothing is done), or
    /// when writing or restarting failed.
    bool setDnsServer(const std::string& address, unsigned int index);

    /// Sets the search domains, written as they stand: the caller has validated them. The empty text clears them.
    bool setDnsDomain(const std::string& domain);

    bool writeToConfigAndReload(const std::string& file, const std::string& content);

private:
    ISystemIF& system_;
};

/// The text of a server's drop-in.
std::string createDnsConfig(const std::string& address);

/// The text of the domain's drop-in.
std::string createDomainConfig(const std::string& domain);

} // namespace networkmanager
