// SPDX-License-Identifier: MIT
#pragma once

#include "system/ISystemIF.h"

#include <string>

namespace networkmanager {

/// Writes drop-ins of systemd-resolved and restarts it. Logs nothing and emits no status. Thread-safe. Writers of the
/// same file take turns, also between processes, and the last text stays.
class DnsConfig
{
public:
    /// Keeps a reference to the system, which must outlive this object.
    explicit DnsConfig(ISystemIF& system);
    virtual ~DnsConfig() = default;

    /// Sets the server of the slot `index`. "0.0.0.0" clears the slot. False when the address is not valid, and then
    /// nothing is done. Also false when the write or the restart failed.
    bool setDnsServer(const std::string& address, unsigned int index);

    /// Sets the search domains. They are written unchanged, and the caller must have validated them. The empty text
    /// clears them.
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
