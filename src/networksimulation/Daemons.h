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

/// systemd-networkd: makes of the files what the kernel shows, step by step. Not thread-safe.
class Networkd
{
public:
    /// All of these outlive it.
    Networkd(Kernel& kernel, const networkhost::IReadableFiles& files, const FarEnds& farEnds, Schedule& schedule);

    /// Takes all addresses and routes away, and brings those of the files.
    void restart();

    /// Takes all away, as when it is not started.
    void stop();

    /// The link of the interface came or went.
    void linkChanged(const std::string& interfaceName);

    /// The text of the lease file of the interface with that index; empty without a lease.
    std::string leaseFile(const std::string& index) const;

    /// The DNS servers of all leases.
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

/// systemd-resolved. Not thread-safe.
class Resolved
{
public:
    /// All of these outlive it.
    Resolved(const networkhost::IReadableFiles& files, Schedule& schedule);

    /// Reads the files again.
    void restart();

    /// The text of the file that names the servers it asks: its own, and those of leases.
    std::string resolvConf(const std::vector<std::string>& leasedDnsServers) const;

private:
    const networkhost::IReadableFiles& files_;
    Schedule& schedule_;
    networkhost::Configuration configuration_; // as of the last start
};

} // namespace networksimulation
