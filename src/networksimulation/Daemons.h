// SPDX-License-Identifier: MIT
#pragma once

#include "../networkhost/device/IFiles.h"
#include "../networkhost/state/Configuration.h"
#include "../networkhost/state/LiveState.h"
#include "FarEnds.h"
#include "Kernel.h"
#include "Schedule.h"

#include <map>
#include <string>
#include <vector>

namespace networksimulation {

/// systemd-networkd. It brings the addresses and routes of the files into the kernel, step by step. Not thread-safe.
class Networkd
{
public:
    /// The arguments outlive the daemon.
    Networkd(Kernel& kernel, const networkhost::IReadableFiles& files, const FarEnds& farEnds, Schedule& schedule);

    /// Takes all addresses and routes away, and brings the ones of the files.
    void restart();

    /// Takes all addresses and routes away, as if the daemon had not been started.
    void stop();

    /// The link of the interface came or went.
    void linkChanged(const std::string& interfaceName);

    /// Returns the text of the lease file of the interface with that index. It is empty without a lease.
    std::string leaseFile(const std::string& index) const;

    /// Returns the text of the state file of the interface with that index.
    std::string linkFile(const std::string& index) const;

    /// Returns the DNS servers of all leases.
    std::vector<std::string> leasedDnsServers() const;

private:
    void takeOverRoutes(const std::string& interfaceName, networkhost::ConfiguredInterface& wanted);
    void configure(const std::string& interfaceName, const networkhost::ConfiguredInterface& wanted);
    void assignAddresses(const std::string& interfaceName, const networkhost::ConfiguredInterface& wanted);
    void addRoutes(const std::string& interfaceName, const networkhost::ConfiguredInterface& wanted);
    void acquireLease(const std::string& interfaceName, const DhcpServer& server);
    void addLostRoutes(const std::string& interfaceName);

    Kernel& kernel_;
    const networkhost::IReadableFiles& files_;
    const FarEnds& farEnds_;
    Schedule& schedule_;
    networkhost::Configuration configuration_; // as of the last start
    std::map<std::string, DhcpServer> leases_; // by interface
};

/// systemd-resolved. It reads its own files, and tells them and the leases to programs. Not thread-safe.
class Resolved
{
public:
    /// The arguments outlive the daemon.
    Resolved(const networkhost::IReadableFiles& files, Schedule& schedule);

    /// Reads the files again.
    void restart();

    /// Returns the text of the file that names the servers it asks, which are its own and the ones of leases.
    std::string resolvConf(const std::vector<std::string>& leasedDnsServers) const;

private:
    const networkhost::IReadableFiles& files_;
    Schedule& schedule_;
    networkhost::Configuration configuration_; // as of the last start
};

} // namespace networksimulation
